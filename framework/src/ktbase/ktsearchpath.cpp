// Folders searched for files by extension.
#include <ktbase/ktsearchpath.h>

#include <boost/filesystem.hpp>

namespace fs = boost::filesystem;

KTSearchPath::KTSearchPath() = default;

KTSearchPath::~KTSearchPath() = default;

void KTSearchPath::Add(const char* path, bool recursive) {
  if (path == nullptr) {
    return;
  }
  fs::path folder(path);
  // Anything but a folder stands for the folder that holds it, whether or not
  // the named entry exists.
  if (fs::status(folder).type() != fs::directory_file) {
    folder.remove_filename();
  }
  const fs::file_type type = fs::status(folder).type();
  if (type == fs::status_error || type == fs::file_not_found) {
    return;
  }
  m_paths.push_back(folder.string());  // duplicates kept, no normalisation
  if (!recursive) {
    return;
  }
  // Depth first through the virtual Add. No cycle guard: a linked loop ends
  // when the system refuses the ever longer path (ELOOP or ENAMETOOLONG from
  // a status call), which throws.
  for (fs::directory_iterator it(folder), end; it != end; ++it) {
    if (fs::status(it->path()).type() == fs::directory_file) {
      Add(it->path().c_str(), true);
    }
  }
}

bool KTSearchPath::FindByExtension(std::vector<std::string>& found, const char* extension) {
  if (m_paths.empty() || extension == nullptr) {
    return true;
  }
  const fs::path wanted(extension);
  for (const std::string& folder : m_paths) {
    for (fs::directory_iterator it{fs::path(folder)}, end; it != end; ++it) {
      const fs::path& entry = it->path();
      if (fs::status(entry).type() == fs::directory_file) {
        continue;
      }
      if (entry.extension().compare(wanted) == 0) {
        found.push_back(entry.string());
      }
    }
  }
  return true;
}

const char* KTSearchPath::GetClsName() { return "System.IO.SearchPath"; }
