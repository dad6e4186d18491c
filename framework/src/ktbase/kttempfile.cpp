// Temporary files and folders, and removal of files and folder trees.
#include <ktbase/kttempfile.h>
#include <unistd.h>

#include <boost/filesystem.hpp>
#include <cstdio>

namespace fs = boost::filesystem;

CKTTempFile::CKTTempFile(bool deleteOnDestroy) : m_deleteOnDestroy(deleteOnDestroy) {}

CKTTempFile::~CKTTempFile() {
  if (m_deleteOnDestroy) {
    try {
      Delete();
    } catch (...) {  // only allocation can fail here; a destructor must not throw
    }
  }
}

bool CKTTempFile::SetPath(const std::string& target) {
  Delete();
  m_path = target + ".tmp";
  // The test is on the target itself, not on the ".tmp" name: an existing,
  // readable target means there is nothing to stage.
  if (access(target.c_str(), R_OK) == 0) {
    return false;
  }
  std::FILE* file = std::fopen(m_path.c_str(), "w");
  if (file == nullptr) {
    return false;
  }
  std::fclose(file);
  return true;
}

void CKTTempFile::Delete() {
  // The path is kept: a second call simply finds nothing to remove.
  if (!m_path.empty()) {
    KTRemoveFile(std::string(m_path));
  }
}

bool CKTTempFile::CopyFrom(const std::string& /*source*/) { return false; }

const std::string& CKTTempFile::string() { return m_path; }

// Deliberately names no folder: the path stays empty. (Staging a folder at
// the path of an unnamed temporary file, which is empty, could never succeed,
// so there is nothing to try and nothing to remove.)
CKTTempDir::CKTTempDir() {}

CKTTempDir::~CKTTempDir() {}

const std::string& CKTTempDir::string() { return m_path; }

bool KTRemoveFile(const std::string& path) {
  if (access(path.c_str(), F_OK) != 0) {
    return true;  // nothing there
  }
  try {
    KTMakeWritable(path);
    fs::remove(fs::path(path));
  } catch (...) {
    return false;
  }
  return true;
}

bool KTRecursiveDelete(const std::string& path) {
  const fs::path top(path);
  // A link to a folder is removed as the link it is: walking it would delete
  // the files of a tree the caller never handed over.
  if (fs::is_symlink(fs::symlink_status(top)) && fs::is_directory(top)) {
    fs::remove(top);
    return true;
  }
  // Files first, made writable, so that remove_all() only meets folders.
  // Linked folders are not entered; a link to a file counts as a file.
  for (fs::recursive_directory_iterator it(top, fs::directory_options::none), end; it != end;
       ++it) {
    const fs::path entry = it->path();
    if (fs::status(entry).type() == fs::regular_file) {
      KTMakeWritable(entry.string());
      fs::remove(entry);
      // Nothing to descend into; also keeps the iterator from inspecting the
      // entry it no longer finds.
      it.disable_recursion_pending();
    }
  }
  fs::remove_all(top);
  const fs::file_type type = fs::status(top).type();
  return type == fs::status_error || type == fs::file_not_found;
}

void KTMakeWritable(const std::string& path) {
  const fs::path target(path);
  const fs::file_status status = fs::status(target);
  if ((status.permissions() & fs::owner_write) == 0) {
    fs::permissions(target, fs::add_perms | fs::owner_write);
  }
}
