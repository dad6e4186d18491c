// The plug-in host kit against real modules: records read from files, verdicts
// from the probe, the cache and its damage, loads into this process.
#include <ktbase/ktbase.h>
#include <ktbase/ktpluginhost.h>
#include <sys/stat.h>

#include <boost/filesystem.hpp>
#include <cstring>

#include "test_support.h"

namespace {

namespace fs = boost::filesystem;
using ktpluginhost::PluginHost;
using ktpluginhost::RecordStatus;
using ktpluginhost::Verdict;

bool StartsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

class PluginHostTest : public kttest::TempDirTest {
 protected:
  void SetUp() override {
    TempDirTest::SetUp();
    m_log.emplace("KTTEST_LOAD_LOG", path("load.log"));
    fs::create_directories(path("plugins"));
  }
  void TearDown() override {
    m_log.reset();
    TempDirTest::TearDown();
  }
  PluginHost::Options Options(bool rescan = false) const {
    PluginHost::Options options;
    options.cacheFile = path("verdicts.cache");
    options.probeProgram = KTTEST_PROBE;
    options.probeTimeoutMs = 2000;
    options.rescan = rescan;
    return options;
  }
  // Copies fixture modules into dir()/plugins.
  void Add(const std::vector<std::string>& names) {
    for (const std::string& name : names)
      fs::copy_file(std::string(KTTEST_PLUGINS) + "/" + name, path("plugins/" + name));
  }
  std::string Log() { return readFile(path("load.log")).value_or(""); }

  std::optional<kttest::ScopedEnv> m_log;
};

TEST_F(PluginHostTest, EveryFixtureGetsItsVerdictAndTheNextScanProbesNothing) {
  const struct {
    const char* file;
    Verdict verdict;
    const char* reason;  // its start
    bool record;
  } cases[] = {
      {"libabort.so", Verdict::kCrashed,
       "killed by SIGABRT (Aborted) while loading (static constructors)", true},
      {"libelf32.so", Verdict::kInvalid, "a 32-bit ELF file; this host is 64-bit", false},
      {"libexit.so", Verdict::kCrashed, "exited with status 0 while loading (static constructors)",
       true},
      {"libgood.so", Verdict::kGood, "", true},
      {"libloop.so", Verdict::kHung, "no answer after 2 s while loading (static constructors)",
       true},
      {"libno_entry.so", Verdict::kFailed, "has no KtPluginEntry() of its own", false},
      {"libno_record.so", Verdict::kGood, "no record", false},
      {"libother_version.so", Verdict::kRefused,
       "its record says plug-in interface 99, this host needs 1; rebuild it", true},
      {"libsegv.so", Verdict::kCrashed,
       "killed by SIGSEGV (Segmentation fault) while loading (static constructors)", true},
      {"libthrows.so", Verdict::kFailed, "KtPluginEntry() threw: no licence for this plug-in",
       true},
      {"libtruncated.so", Verdict::kInvalid, "truncated: 3000 bytes, its headers describe ", false},
      {"notes.so", Verdict::kInvalid, "not an ELF file", false},
  };
  for (const auto& c : cases) {
    if (std::strcmp(c.file, "notes.so") != 0) Add({c.file});
  }
  writeFile("plugins/notes.so", "not a module\n");
  writeFile("plugins/readme.txt", "not a module either, and not a .so\n");

  for (int start = 1; start <= 2; ++start) {
    SCOPED_TRACE("start " + std::to_string(start));
    PluginHost host(Options());
    const ktpluginhost::ScanResult scan = host.Scan(path("plugins"));
    EXPECT_EQ(scan.error, "");
    // Only modules the file does not already condemn are probed, once.
    EXPECT_EQ(scan.probes, start == 1 ? 8 : 0);
    EXPECT_EQ(scan.cached, start == 1 ? 0 : 12);
    ASSERT_EQ(scan.plugins.size(), std::size(cases));
    for (std::size_t i = 0; i < scan.plugins.size(); ++i) {
      const ktpluginhost::PluginInfo& plugin = scan.plugins[i];
      SCOPED_TRACE(cases[i].file);
      EXPECT_EQ(plugin.path, path("plugins/") + cases[i].file);
      EXPECT_EQ(plugin.verdict, cases[i].verdict) << ktpluginhost::VerdictName(plugin.verdict);
      EXPECT_TRUE(StartsWith(plugin.reason, cases[i].reason)) << plugin.reason;
      EXPECT_EQ(plugin.reason.empty(), cases[i].reason[0] == '\0');
      EXPECT_EQ(plugin.record.present, cases[i].record);
      EXPECT_EQ(plugin.probed, start == 1 && cases[i].verdict != Verdict::kInvalid &&
                                   cases[i].verdict != Verdict::kRefused);
    }
    // Each probe loaded its module in a child; the wrong version never ran.
    EXPECT_EQ(Log(), "abort\nexit\ngood\nloop\nno_entry\nno_record\nsegv\nthrows\n");
  }
  ktpluginhost::PluginRecord record;
  std::string why;
  ASSERT_EQ(ktpluginhost::ReadPluginRecord(path("plugins/libgood.so"), record, why),
            RecordStatus::kRecord);
  EXPECT_EQ(record.interfaceVersion, 1);
  EXPECT_EQ(record.ktbaseVersion, "1.0.0");
  EXPECT_EQ(record.name, "Good test plug-in");
  EXPECT_EQ(record.uid, "0123ABCD-EF01-2345-6789-ABCDEF012345");
}

}  // namespace
