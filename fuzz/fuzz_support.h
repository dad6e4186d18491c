// Helpers shared by the fuzz targets.
//
// FUZZ_CHECK aborts with a message when an invariant fails; libFuzzer then
// reports the input as a crash and keeps it. FuzzFolder() is a private folder
// made once per process, also exported as "TMPDIR" so the preference manager's
// own folder ($TMPDIR/Norvex/Tessel) never lands in the machine's temporary
// directory; it is removed at exit. LogRecords() keeps every log record
// delivered since the last ClearLog().
#ifndef KTBASE_FUZZ_SUPPORT_H
#define KTBASE_FUZZ_SUPPORT_H

#include <logmanager/log.h>

#include <boost/filesystem.hpp>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

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
    const char* base = std::getenv("TMPDIR");
    std::string pattern = (base != nullptr && *base != '\0') ? base : "/tmp";
    pattern += "/ktfuzz-XXXXXX";
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
    if (::mkdtemp(buf.data()) == nullptr) {
      std::perror("mkdtemp");
      std::abort();
    }
    auto* made = new std::string(buf.data());  // leaked: the exit handler needs it
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

inline void WriteBytes(const std::string& path, const void* data, size_t size) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
  FUZZ_CHECK(out.good());
}

// Whole file, binary-exact; "" when it cannot be read.
inline std::string ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline bool FileExists(const std::string& path) {
  boost::system::error_code ec;
  return boost::filesystem::exists(path, ec);
}


using PrefMap = std::map<std::string, std::string>;

// Reference model of the list getter's cut: every separator splits, empty
// pieces kept.
inline std::vector<std::string> Split(const std::string& text, char sep) {
  std::vector<std::string> pieces;
  size_t start = 0;
  for (size_t at = text.find(sep); at != std::string::npos; at = text.find(sep, start)) {
    pieces.push_back(text.substr(start, at - start));
    start = at + 1;
  }
  pieces.push_back(text.substr(start));
  return pieces;
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
