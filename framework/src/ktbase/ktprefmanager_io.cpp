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
#include <cstring>
#include <string_view>
#include <tuple>
#include <utility>

#include "ktprefmanager_save.h"

namespace {

using PrefMap = std::map<std::string, std::string>;

constexpr char kSpace = ' ';
// The chunk reader's buffer: chunks of at most 1023 characters.
constexpr std::size_t kChunk = 1024 - 1;

// Length of the chunk that fgets with a 1024-byte buffer would read at the
// start of `data`: through the first line feed, at most 1023 characters.
std::size_t ChunkLength(const char* data, std::size_t size) {
  const std::size_t limit = size < kChunk ? size : kChunk;
  const void* lineFeed = std::memchr(data, '\n', limit);
  return lineFeed != nullptr ? static_cast<const char*>(lineFeed) - data + 1 : limit;
}

// Reads the whole file as the chunked reader joins it: fgets chunks appended
// as C strings, so the text after a zero byte inside a chunk is lost,
// deliberately (no length is kept per chunk). The bytes are read at once and
// the chunks are only worked out when a zero byte is present. A read error
// keeps what was read before it, less the chunk in progress (fgets returns
// null for it), and is reported; a file that cannot be opened yields ""
// without a message.
std::string ReadPrefFile(const std::string& path) {
  std::string text;
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file == -1) return text;
  // Room for the whole file and one byte more, so that one read sees its
  // end; a size that cannot be known (0 for a device or a failed fstat)
  // starts at one byte, and a full buffer doubles.
  struct stat info {};
  ::fstat(file, &info);
  text.resize(static_cast<std::size_t>(info.st_size) + 1);
  std::size_t size = 0;
  ssize_t got;
  do {
    if (size == text.size()) text.resize(2 * size);
    got = ::read(file, &text[size], text.size() - size);
    if (got > 0) size += static_cast<std::size_t>(got);
  } while (got > 0 || (got < 0 && errno == EINTR));
  ::close(file);
  text.resize(size);

  if (got < 0) {
    // A directory, or an error part way: what was read so far is still
    // parsed, less the chunk in progress. Chunks restart after each line
    // feed and hold kChunk bytes, so that chunk is what the last line has
    // beyond a multiple of kChunk (nothing when the text ends in a line feed).
    const std::size_t lastLine = text.rfind('\n') + 1;  // npos + 1 == 0
    text.resize(size - (size - lastLine) % kChunk);
    Log::Singleton::Instance()->Stream(2)
        << "Error: reading preferences from [" << path << "]" << std::endl;
  }

  if (std::memchr(text.data(), '\0', text.size()) != nullptr) {
    std::string joined;
    joined.reserve(text.size());
    for (std::size_t at = 0, length = 0; at < text.size(); at += length) {
      const char* chunk = text.data() + at;
      length = ChunkLength(chunk, text.size() - at);
      const void* zero = std::memchr(chunk, '\0', length);
      joined.append(chunk, zero != nullptr ? static_cast<const char*>(zero) - chunk : length);
    }
    text.swap(joined);
  }
  return text;
}

// Stores `value` under `key`, a later line replacing an earlier one. The
// hint at the end costs one comparison for keys that arrive in ascending
// order, as a saved file holds them; other keys are searched for as by an
// insert. A repeated key makes a node that is dropped, and its value is
// assigned.
void Store(PrefMap& prefs, std::string_view key, std::string_view value) {
  const std::size_t size = prefs.size();
  const auto at = prefs.emplace_hint(prefs.end(), std::piecewise_construct,
                                     std::forward_as_tuple(key), std::forward_as_tuple(value));
  if (prefs.size() == size) at->second.assign(value.data(), value.size());
}

// One line (without its line feed) into `prefs`. Only ' ' is trimmed: tabs
// and carriage returns belong to the key or value.
void ParseLine(std::string_view line, const std::string& path, PrefMap& prefs) {
  const std::size_t equal = line.find('=');
  if (equal == std::string_view::npos) {
    if (line.find_first_not_of(kSpace) != std::string_view::npos) {
      // One record of two lines.
      Log::Singleton::Instance()->Stream(1)
          << "Warning : Ignoring line [" << std::string(line) << "] in " << path << std::endl
          << "Reason : No '=' token found" << std::endl;
    }
    return;
  }
  // The key's edges come from two searches whose odd ends are kept on
  // purpose: the first non-space may be the '=' itself (blank key part); the
  // backward search starts just before '=', or at the end of the line when
  // '=' comes first (equal - 1 wraps to npos); when it finds nothing the key
  // runs to the end of the line. So "=abc" gives the key "=abc" and "  =x"
  // the key "=x".
  const std::size_t keyFirst = line.find_first_not_of(kSpace);
  const std::size_t keyLast = line.find_last_not_of(kSpace, equal - 1);
  const std::size_t keyLength =
      keyLast == std::string_view::npos ? std::string_view::npos : keyLast - keyFirst + 1;
  const std::string_view key = line.substr(keyFirst, keyLength);

  const std::size_t valueFirst = line.find_first_not_of(kSpace, equal + 1);
  if (valueFirst == std::string_view::npos) {
    Store(prefs, key, std::string_view());
    return;
  }
  const std::size_t valueLast = line.find_last_not_of(kSpace);
  Store(prefs, key, line.substr(valueFirst, valueLast - valueFirst + 1));
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

  // Lines as std::getline cuts them: a last line without a line feed counts,
  // a final line feed adds no empty line.
  const std::string_view all(text);
  std::size_t start = 0;
  while (start < all.size()) {
    std::size_t end = all.find('\n', start);
    if (end == std::string_view::npos) end = all.size();
    ParseLine(all.substr(start, end - start), path, prefs);
    start = end + 1;
  }
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
