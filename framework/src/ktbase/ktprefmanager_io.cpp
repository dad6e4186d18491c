// Preference files: one `key=value` line per entry, no header, no escapes,
// no comments. A load replaces one scope's map; a save rewrites one file (or
// all three) from the maps.
#include <fcntl.h>
#include <ktbase/ktprefmanager.h>
#include <logmanager/log.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string_view>
#include <utility>

#include "ktprefmanager_save.h"
#include "ktpreftext.h"

namespace {

// Reads the whole file and makes of it the text the chunked reader would
// (ktpreftext::ReaderText): the bytes are read at once. A read error keeps
// what was read before it, less the chunk in progress, and is reported; a
// file that cannot be opened yields "" without a message.
std::string ReadPrefFile(const std::string& path) {
  std::string bytes;
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file == -1) return bytes;
  // Room for the whole file and one byte more, so that one read sees its
  // end; a size that cannot be known (0 for a device or a failed fstat)
  // starts at one byte, and a full buffer doubles.
  struct stat info {};
  ::fstat(file, &info);
  bytes.resize(static_cast<std::size_t>(info.st_size) + 1);
  std::size_t size = 0;
  ssize_t got;
  do {
    if (size == bytes.size()) bytes.resize(2 * size);
    got = ::read(file, &bytes[size], bytes.size() - size);
    if (got > 0) size += static_cast<std::size_t>(got);
  } while (got > 0 || (got < 0 && errno == EINTR));
  ::close(file);
  bytes.resize(size);

  // A directory, or an error part way.
  const bool readError = got < 0;
  if (readError) {
    Log::Singleton::Instance()->Stream(2)
        << "Error: reading preferences from [" << path << "]" << std::endl;
  }
  return ktpreftext::ReaderText(std::move(bytes), readError);
}

}  // namespace

// ePrefAll (and any other value) reads nothing and gives false: loading takes
// one scope at a time.
bool CKTPrefManager::LoadFromDisk(EPrefType type) {
  switch (type) {
    case ePrefUser:
      m_loadedUser = LoadInternalFromDisk(m_prefFileUser, m_prefMapUser, m_loadedUser);
      return m_loadedUser;
    case ePrefProject:
      m_loadedProject = LoadInternalFromDisk(m_prefFileProject, m_prefMapProject, m_loadedProject);
      return m_loadedProject;
    case ePrefSite:
      m_loadedSite = LoadInternalFromDisk(m_prefFileSite, m_prefMapSite, m_loadedSite);
      return m_loadedSite;
    default:
      return false;
  }
}

// Returns true whenever it does not throw (missing file and read error
// included), so the scope counts as loaded in every case. An already loaded
// scope is left as it is, setter changes included.
bool CKTPrefManager::LoadInternalFromDisk(const std::string& path,
                                          std::map<std::string, std::string>& prefs, bool& loaded) {
  if (loaded) return true;
  prefs.clear();  // before the open: a missing file leaves the scope empty
  const std::string text = ReadPrefFile(path);
  ktpreftext::ParseText(text, prefs, [&path](std::string_view line) {
    // One record of two lines.
    Log::Singleton::Instance()->Stream(1)
        << "Warning : Ignoring line [" << std::string(line) << "] in " << path << std::endl
        << "Reason : No '=' token found" << std::endl;
  });
  return true;
}

// Deliberately true only when some file was written short; every save asked
// for runs, in the order user, project, site.
bool CKTPrefManager::SaveToDisk(EPrefType type) {
  if (!m_writable) return false;
  bool shortWrite = false;
  if (type == ePrefUser || type == ePrefAll)
    shortWrite = SaveInternalToDisk(m_prefFileUser, m_prefMapUser) || shortWrite;
  if (type == ePrefProject || type == ePrefAll)
    shortWrite = SaveInternalToDisk(m_prefFileProject, m_prefMapProject) || shortWrite;
  if (type == ePrefSite || type == ePrefAll)
    shortWrite = SaveInternalToDisk(m_prefFileSite, m_prefMapSite) || shortWrite;
  return shortWrite;
}

// True only when the text was not saved whole (a failed step of the
// replacement, or a zero byte in the text, where "%s" would stop); no file
// name or an empty scope touches no file (an emptied scope keeps its old
// file); a file that cannot be opened gives false without a message.
bool CKTPrefManager::SaveInternalToDisk(const std::string& path,
                                        const std::map<std::string, std::string>& prefs) {
  if (path.empty() || prefs.empty()) return false;

  // Sized in one walk and filled in a second, with plain copies.
  std::size_t size = 0;
  for (const auto& entry : prefs) size += entry.first.size() + entry.second.size() + 2;
  std::string text(size, '\0');
  char* out = &text[0];
  for (const auto& entry : prefs) {
    out = std::copy(entry.first.begin(), entry.first.end(), out);
    *out++ = '=';
    out = std::copy(entry.second.begin(), entry.second.end(), out);
    *out++ = '\n';
  }
  return ktprefsave::SaveText(path, text);
}
