// Debug service, assertion report, file log.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <ktbase/ktdebug.h>
#include <ktbase/ktfilelog.h>
#include <ktbase/platform_linux.h>

#include <cerrno>
#include <string>
#include <vector>

#include "test_support.h"

namespace {

class Console : public qrn::diagnostics::IOutputConsole {
 public:
  void Write(const std::string& text, int, int, int) override { lines.push_back(text); }
  std::vector<std::string> lines;
};

TEST(DebugTest, PrintDebugStringSendsOneLineToTheLastConsole) {
  ktdebug debug;
  Console first, last;
  debug.PrintDebugString("nobody listens");
  debug.RegisterDebugOutputConsole(&first);
  debug.RegisterDebugOutputConsole(&last);
  const struct {
    const char* in;
    const char* out;
  } cases[] = {{"abc", "abc\n"}, {"abc\n", "abc\n"}, {"a\nb", "a\nb\n"},
               {"", ""},         {"\n", "\n"},       {"a\n\n", "a\n\n"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.in);
    last.lines.clear();
    debug.PrintDebugString(c.in);
    EXPECT_EQ(last.lines, std::vector<std::string>{c.out});
  }
  debug.RegisterDebugOutputConsole(nullptr);
  debug.PrintDebugString("off");
  EXPECT_TRUE(first.lines.empty());
  EXPECT_EQ(last.lines.size(), 1u);
}

TEST(AssertTest, FailureFormatsTheReportAndEverythingReturnsFalse) {
  ktdebug debug;
  EXPECT_FALSE(debug.Assert(false, "x > 0", "msg", "+detail", "f.cpp", 7, false));
  const std::string report = ktGetAssertReport();
  EXPECT_EQ(report,
            "Error: ( msg+detail )\nFAILED: x > 0\n\nFile 'f.cpp', Line 7\n\n\n"
            "Abort execution, allow assert Retry, or Ignore in future?");
  EXPECT_FALSE(debug.Assert(true, "other", "other", nullptr, "other", 1, true));
  EXPECT_EQ(ktGetAssertReport(), report);  // a held condition writes nothing

  EXPECT_FALSE(_plateform_assert(false, nullptr, nullptr, nullptr, nullptr, -1, true));
  EXPECT_STREQ(ktGetAssertReport(),
               "Error: (  )\nFAILED: \n\nFile '', Line -1\n\n\n"
               "Abort execution, allow assert Retry, or Ignore in future?");

  const std::string huge(10000, 'm');  // cut to the buffer, never past it
  _plateform_assert(false, "f", huge.c_str(), huge.c_str(), "file", 1, true);
  EXPECT_EQ(ktGetAssertReport(), ("Error: ( " + huge).substr(0, 2047));
}

class FileLogTest : public kttest::TempDirTest {};

TEST_F(FileLogTest, WritesExactlyTheCallersText) {
  const std::string first = path("1.log"), second = path("2.log");
  ktFileLog log;
  log.Write("nowhere");  // no stream: nothing, no failure
  log.WriteLine("nowhere");
  log.Flush();
  EXPECT_EQ(log.Detach(), nullptr);
  ASSERT_TRUE(log.Open(first.c_str(), "w"));
  log.Write("a");
  log.WriteLine("b%d%s");
  log.Close();
  log.WriteLine("after close");
  EXPECT_EQ(readFile(first), "ab%d%s\n");
  ASSERT_TRUE(log.Open(first.c_str(), "a"));
  log.Write("c");
  log.Flush();
  EXPECT_EQ(readFile(first), "ab%d%s\nc");
  log.Write("d");
  ASSERT_TRUE(log.Open(second.c_str(), "w"));  // closes (and flushes) the first
  EXPECT_EQ(readFile(first), "ab%d%s\ncd");
  log.Write("two");
  EXPECT_FALSE(log.Open(path("no/such/dir/3.log").c_str(), "w"));
  EXPECT_EQ(readFile(second), "two");
  EXPECT_FALSE(log.Open(nullptr, "w"));
  EXPECT_FALSE(log.Open(first.c_str(), nullptr));
  EXPECT_EQ(log.Detach(), nullptr);
}

TEST_F(FileLogTest, OwnsAnAttachedStreamUntilDetached) {
  const std::string file = path("attached.log"), opened = path("opened.log");
  FILE* stream = std::fopen(file.c_str(), "w");
  ASSERT_NE(stream, nullptr);
  const int fd = ::fileno(stream);
  {
    ktFileLog log;
    ASSERT_TRUE(log.Open(opened.c_str(), "w"));
    log.Write("opened");
    log.Attach(stream);  // closes (and flushes) the opened file
    EXPECT_EQ(readFile(opened), "opened");
    log.Write("kept");
    EXPECT_EQ(log.Detach(), stream);
  }
  EXPECT_NE(::fcntl(fd, F_GETFD), -1);  // detached: still open
  {
    ktFileLog log;
    log.Attach(stream);
    log.WriteLine("+owned");
  }
  EXPECT_EQ(::fcntl(fd, F_GETFD), -1);  // the destructor closed it
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(readFile(file), "kept+owned\n");
}

}  // namespace
