// Helpers shared by the fuzz targets, and the models they check the library
// against, written apart from it.
//
// FUZZ_CHECK aborts with a message when an invariant fails; libFuzzer then
// reports the input as a crash and keeps it. FuzzFolder() is a private folder
// made once per process, on the memory file system /dev/shm when it can be
// used (the targets write files for every input), else in $TMPDIR or /tmp. It
// is also exported as "TMPDIR" so the preference manager's own folder
// ($TMPDIR/Norvex/Tessel) never lands in the machine's temporary directory,
// and removed at exit. LogRecords() keeps every log record delivered since the
// last ClearLog().
#ifndef KTBASE_FUZZ_SUPPORT_H
#define KTBASE_FUZZ_SUPPORT_H

#include <fcntl.h>
#include <ktbase/ktprefmanager.h>
#include <logmanager/log.h>
#include <unistd.h>

#include <algorithm>
#include <boost/filesystem.hpp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "pref_peer.h"

#define FUZZ_CHECK(cond)                                                                 \
  do {                                                                                   \
    if (!(cond)) {                                                                       \
      std::fprintf(stderr, "invariant failed: %s (%s:%d)\n", #cond, __FILE__, __LINE__); \
      std::abort();                                                                      \
    }                                                                                    \
  } while (0)

namespace ktfuzz {

struct LogEntry {
  int level;
  std::string text;
};

inline std::vector<LogEntry>& LogRecords() {
  static auto* records = new std::vector<LogEntry>();  // leaked: used until exit
  return *records;
}

inline void ClearLog() { LogRecords().clear(); }

inline const std::string& FuzzFolder() {
  static const std::string* folder = [] {
    std::string* made = nullptr;  // leaked: the exit handler needs it
    const char* const bases[] = {"/dev/shm", std::getenv("TMPDIR"), "/tmp"};
    for (const char* base : bases) {
      if (base == nullptr || *base == '\0') continue;
      std::string pattern = std::string(base) + "/ktfuzz-XXXXXX";
      if (::mkdtemp(pattern.data()) != nullptr) {
        made = new std::string(pattern);
        break;
      }
    }
    FUZZ_CHECK(made != nullptr);
    ::setenv("TMPDIR", made->c_str(), 1);
    std::atexit([] {
      boost::system::error_code ec;
      boost::filesystem::remove_all(FuzzFolder(), ec);
    });
    Log::SetSink([](int level, const std::string& text) {
      LogRecords().push_back(LogEntry{level, text});
    });
    return made;
  }();
  return *folder;
}

inline std::string InFolder(const char* name) { return FuzzFolder() + "/" + name; }

// A manager whose three scopes use user.prefs, project.prefs and site.prefs
// in the fuzz folder.
inline std::unique_ptr<CKTPrefManager> NewManager() {
  std::unique_ptr<CKTPrefManager> m(dynamic_cast<CKTPrefManager*>(IKTPrefManager::Create()));
  FUZZ_CHECK(m != nullptr);
  m->Configure(InFolder("user.prefs"), InFolder("project.prefs"), InFolder("site.prefs"));
  return m;
}

// Plain system calls: no stream buffer to allocate for every input.
inline void WriteBytes(const std::string& path, const void* data, size_t size) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  FUZZ_CHECK(file >= 0 && ::write(file, data, size) == static_cast<ssize_t>(size));
  ::close(file);
}

// Whole file, binary-exact; "" when it cannot be read.
inline std::string ReadBytes(const std::string& path) {
  std::string bytes;
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  char chunk[16384];
  for (ssize_t got; file >= 0 && (got = ::read(file, chunk, sizeof chunk)) > 0;)
    bytes.append(chunk, static_cast<size_t>(got));
  if (file >= 0) ::close(file);
  return bytes;
}

// Model of the reader: the bytes in fgets chunks of at most 1023 bytes (ending
// after a line feed), each appended as a C string, so a zero byte drops the
// rest of its chunk; after a read error the chunk in progress is lost.
inline std::string ReadAsLoaderDoes(std::string_view bytes, bool readError) {
  std::string text;
  while (!bytes.empty()) {
    const std::string_view chunk = bytes.substr(0, std::min(bytes.find('\n'), size_t{1022}) + 1);
    if (readError && chunk.back() != '\n' && chunk.size() < 1023) break;
    text.append(chunk.data(), strnlen(chunk.data(), chunk.size()));
    bytes.remove_prefix(chunk.size());
  }
  return text;
}

// Model of the line parser: split at line feeds, each line at its first "=",
// only spaces trimmed, with the two odd edges of the key search (a blank key
// part makes the key start at the "="). Views into `text`, in line order.
struct Model {
  std::vector<std::pair<std::string_view, std::string_view>> lines;
  std::vector<std::string_view> ignored;  // lines without "=" that are not blank
};

inline Model Parse(std::string_view text) {
  Model model;
  for (size_t start = 0, end; start < text.size(); start = end + 1) {
    end = std::min(text.find('\n', start), text.size());
    const std::string_view line = text.substr(start, end - start);
    const size_t eq = line.find('=');
    if (eq == line.npos) {
      if (line.find_first_not_of(' ') != line.npos) model.ignored.push_back(line);
      continue;
    }
    const size_t kb = line.find_first_not_of(' ');
    const size_t ke = line.find_last_not_of(' ', eq - 1);  // eq == 0: from the end
    const size_t vb = line.find_first_not_of(' ', eq + 1);
    model.lines.emplace_back(ke == line.npos ? line.substr(kb) : line.substr(kb, ke - kb + 1),
                             vb == line.npos
                                 ? std::string_view()
                                 : line.substr(vb, line.find_last_not_of(' ') - vb + 1));
  }
  return model;
}

// What a default-formatted stream extracts from `text` (0 when it reads no
// number). One stream per type, refilled for each text rather than rebuilt.
template <typename T>
T Extracted(const std::string& text) {
  static std::istringstream in;
  in.clear();
  in.str(text);
  T number = 0;
  in >> number;
  return number;
}

// Reference model of the list getter, called on a vector that held "old":
// whether `got` is "old" followed by the pieces of `text` cut at every
// separator (empty pieces kept). Compares in place, allocating nothing.
inline bool SplitsInto(const std::vector<std::string>& got, std::string_view text, char sep) {
  if (got.empty() || got[0] != "old") return false;
  for (size_t n = 1;; ++n) {
    const size_t at = text.find(sep);
    if (n == got.size() || got[n] != text.substr(0, at)) return false;
    if (at == std::string_view::npos) return n + 1 == got.size();
    text.remove_prefix(at + 1);
  }
}

// Reference model of the read-side token rule: the unsigned ".Path" test
// (which also takes every 4-character key).
inline bool Expands(const std::string& key) { return key.rfind(".Path") == key.size() - 5; }

// The replacements (folder names) never hold a token, so this ends.
inline std::string Expand(const std::string& key, std::string value, const PrefMap& tokens) {
  if (!Expands(key)) return value;
  for (const auto& [token, replacement] : tokens)
    for (size_t at = value.find(token); at != std::string::npos; at = value.find(token))
      value.replace(at, token.size(), replacement);
  return value;
}

}  // namespace ktfuzz

#endif  // KTBASE_FUZZ_SUPPORT_H
