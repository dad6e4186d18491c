// Test helpers shared by every test folder.
#ifndef KTBASE_TESTS_TEST_SUPPORT_H
#define KTBASE_TESTS_TEST_SUPPORT_H

#include <gtest/gtest.h>
#include <logmanager/log.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kttest {

// Sets (or, with std::nullopt, unsets) an environment variable for the
// lifetime of the guard, then restores what was there before.
class ScopedEnv {
 public:
  ScopedEnv(std::string name, std::optional<std::string> value);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  std::string m_name;
  std::optional<std::string> m_previous;
};

// One captured log record.
struct LogRecord {
  int level;
  std::string text;
};

// Captures every log record delivered while it lives; restores the previous
// sink afterwards.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  const std::vector<LogRecord>& records() const { return m_records; }

 private:
  std::vector<LogRecord> m_records;
  Log::Sink m_previous;
};

// A fresh folder below the real temporary directory, removed (with its
// contents, read-only files included) at the end of each test. Also points
// "TMPDIR" at <folder>/tmp so no test touches the machine's temporary
// directory; the previous value is restored.
class TempDirTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  const std::string& dir() const { return m_dir; }
  // dir()/relative
  std::string path(const std::string& relative) const;
  // Writes `content` (binary-exact) to dir()/relative, creating folders.
  std::string writeFile(const std::string& relative, const std::string& content) const;
  // Reads a whole file binary-exact; std::nullopt when it cannot be opened.
  static std::optional<std::string> readFile(const std::string& path);

 private:
  std::string m_dir;
  std::optional<ScopedEnv> m_tmpdir;
};

// Every entry below `root`, links not followed, with what it is: "folder",
// "link:<target>" or "file:<content>". Comparing two snapshots shows that
// nothing was written, removed or changed in the tree.
std::map<std::string, std::string> Snapshot(const std::string& root);

}  // namespace kttest

#endif  // KTBASE_TESTS_TEST_SUPPORT_H
