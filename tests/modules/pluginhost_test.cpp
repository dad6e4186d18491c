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
    // Under the sanitizers, the probes must die of the modules' faults as
    // they would without them.
    const char* asan = std::getenv("ASAN_OPTIONS");
    m_asan.emplace("ASAN_OPTIONS",
                   std::string(asan ? asan : "") + ":handle_segv=0:handle_abort=0:detect_leaks=0");
    fs::create_directories(path("plugins"));
  }
  void TearDown() override {
    m_asan.reset();
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

  std::optional<kttest::ScopedEnv> m_log, m_asan;
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

  ino_t written = 0;  // the cache file's inode: a warm start rewrites nothing
  for (int start = 1; start <= 2; ++start) {
    SCOPED_TRACE("start " + std::to_string(start));
    PluginHost host(Options());
    const ktpluginhost::ScanResult scan = host.Scan(path("plugins"));
    EXPECT_EQ(scan.error, "");
    struct stat cache {};
    ASSERT_EQ(::stat(path("verdicts.cache").c_str(), &cache), 0);
    EXPECT_TRUE(start == 1 || cache.st_ino == written);
    written = cache.st_ino;
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
      const bool fromFile =
          cases[i].verdict == Verdict::kInvalid || cases[i].verdict == Verdict::kRefused;
      EXPECT_EQ(plugin.source, start == 2 ? ktpluginhost::VerdictSource::kCache
                               : fromFile ? ktpluginhost::VerdictSource::kFile
                                          : ktpluginhost::VerdictSource::kProbe);
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

// Every defect a file can have is a status and a reason, never a crash.
TEST_F(PluginHostTest, ReaderReportsEveryDefectOfAModuleFile) {
  const std::string good = readFile(std::string(KTTEST_PLUGINS) + "/libgood.so").value();
  auto find = [&](const std::string& bytes) { return good.find(bytes); };
  // The record note's header, the info note's type and owner, the PT_NOTE
  // program header that holds them.
  const std::size_t note = find(std::string("\x09\0\0\0\x18\0\0\0\x01\0\0\0KtPlugin\0", 21));
  const std::size_t info = find(std::string("\x02\0\0\0KtPlugin\0", 13)) - 8;
  ASSERT_NE(note, std::string::npos);
  std::size_t notePhdr = 0;
  for (std::size_t at = 64; at < 64 + 56 * 12; at += 56) {
    std::uint64_t offset, size;
    std::memcpy(&offset, &good[at + 8], 8);
    std::memcpy(&size, &good[at + 32], 8);
    if (good[at] == 4 && offset <= note && note < offset + size) notePhdr = at;
  }
  ASSERT_NE(notePhdr, 0u);
  const struct {
    const char* what;
    std::size_t at;  // patched at this offset, or the file cut to this size
    std::string bytes;
    RecordStatus status;
    const char* why;
  } cases[] = {
      {"empty file", 0, "cut", RecordStatus::kNotModule, "not an ELF file"},
      {"magic only", 4, "cut", RecordStatus::kDamaged,
       "truncated: 4 bytes, its headers describe 16"},
      {"no header", 40, "cut", RecordStatus::kDamaged,
       "truncated: 40 bytes, its headers describe 64"},
      {"class 3", 4, "\x03", RecordStatus::kDamaged, "unknown ELF class 3"},
      {"big-endian", 5, "\x02", RecordStatus::kOtherTarget, "a big-endian ELF file"},
      {"byte order 0", 5, std::string(1, '\0'), RecordStatus::kDamaged, "unknown ELF byte order 0"},
      {"executable", 16, "\x02", RecordStatus::kNotModule,
       "an ELF file of type 2, not a shared module"},
      {"arm64", 18, "\xb7", RecordStatus::kOtherTarget,
       "built for ELF machine 183, this host is x86-64"},
      {"phentsize", 54, "\x20", RecordStatus::kDamaged, "malformed program headers"},
      {"phnum 0", 56, std::string(2, '\0'), RecordStatus::kDamaged, "malformed program headers"},
      {"phnum max", 56, "\xff\xff", RecordStatus::kDamaged, "malformed program headers"},
      {"shentsize", 58, "\x20", RecordStatus::kDamaged, "malformed section headers"},
      {"phoff far", 39, "\x70", RecordStatus::kDamaged, "truncated: "},
      {"shoff far", 47, "\x70", RecordStatus::kDamaged, "truncated: "},
      {"segment past end", notePhdr + 39, "\x01", RecordStatus::kDamaged, "truncated: "},
      {"segment wraps", notePhdr + 8, std::string(8, '\xff'), RecordStatus::kDamaged,
       "malformed program headers"},
      {"name size", note, "\xff\xff\xff\xff", RecordStatus::kDamaged,
       "a note runs past its segment"},
      {"desc size", note + 4, "\xf0\xff\xff\x7f", RecordStatus::kDamaged,
       "a note runs past its segment"},
      {"format 0", note + 24, std::string(1, '\0'), RecordStatus::kDamaged,
       "malformed plug-in record"},
      {"version text", note + 32, std::string(16, 'x'), RecordStatus::kDamaged,
       "malformed plug-in record"},
      {"identifier", info + 12 + 12 + 8, "+", RecordStatus::kDamaged,
       "malformed plug-in name or identifier"},
      {"unterminated name", info + 4, "\x29", RecordStatus::kDamaged,
       "malformed plug-in name or identifier"},
      {"other type", note + 8, "\x07", RecordStatus::kNoRecord, ""},
      {"other owner", note + 12, "k", RecordStatus::kNoRecord, ""},
      {"8-aligned segment", notePhdr + 48, "\x08", RecordStatus::kNoRecord, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    std::string bytes = good;
    if (c.bytes == "cut")
      bytes.resize(c.at);
    else
      bytes.replace(c.at, c.bytes.size(), c.bytes);
    ktpluginhost::PluginRecord record{true, 7, "x", "y", "z"};
    std::string why = "stale";
    EXPECT_EQ(ktpluginhost::ReadPluginRecord(writeFile("module.so", bytes), record, why), c.status);
    EXPECT_TRUE(StartsWith(why, c.why)) << why;
    EXPECT_EQ(why.empty(), c.why[0] == '\0') << why;
    EXPECT_EQ(record.present, false);
    EXPECT_EQ(record.ktbaseVersion, "");
  }
  ktpluginhost::PluginRecord record;
  std::string why;
  EXPECT_EQ(ktpluginhost::ReadPluginRecord(path("nowhere.so"), record, why),
            RecordStatus::kUnreadable);
  EXPECT_EQ(why, "cannot be opened: No such file or directory");
  EXPECT_EQ(ktpluginhost::ReadPluginRecord(path("plugins"), record, why), RecordStatus::kNotModule);
  EXPECT_EQ(why, "not a regular file");
}

// A cache line that matches the module and says "crashed" is honoured; any
// damage to the file makes every module probed again.
TEST_F(PluginHostTest, DamagedCacheMeansARescan) {
  Add({"libgood.so"});
  const std::string module = path("plugins/libgood.so");
  struct stat info {};
  ASSERT_EQ(stat(module.c_str(), &info), 0);
  const std::string header = "ktpluginhost-verdicts 1\n";
  const std::string key = std::to_string(info.st_dev) + "\t" + std::to_string(info.st_ino) + "\t" +
                          std::to_string(info.st_size) + "\t" +
                          std::to_string(info.st_mtim.tv_sec * 1000000000LL + info.st_mtim.tv_nsec);
  const std::string line = module + "\t" + key + "\tcrashed\t1\t1\t1.0.0\tn\\\\a\\tm\\ne\tu\twhy\n";
  const struct {
    const char* what;
    std::string text;
    bool honoured;
  } cases[] = {
      {"valid", header + line, true},
      {"valid, other entries too", header + "/x.so\t1\t2\t3\t-4\tgood\t0\t0\t\t\t\t\n" + line,
       true},
      {"empty", "", false},
      {"header only, cut", header.substr(0, 10), false},
      {"other format", "ktpluginhost-verdicts 2\n" + line, false},
      {"cut in the line", header + line.substr(0, line.size() - 3), false},
      {"a field missing", header + module + "\t" + key + "\tcrashed\t1\t1\t1.0.0\tn\twhy\n", false},
      {"unknown verdict", header + module + "\t" + key + "\tbroken\t1\t1\t1.0.0\tn\tu\twhy\n",
       false},
      {"bad number", header + module + "\t" + key + "x\tcrashed\t1\t1\t1.0.0\tn\tu\twhy\n", false},
      {"signed size", header + module + "\t-" + key + "\tcrashed\t1\t1\t1.0.0\tn\tu\twhy\n", false},
      {"bad flag", header + module + "\t" + key + "\tcrashed\t2\t1\t1.0.0\tn\tu\twhy\n", false},
      {"bad escape", header + module + "\t" + key + "\tcrashed\t1\t1\t1.0.0\tn\\q\tu\twhy\n",
       false},
      {"escape at end", header + module + "\t" + key + "\tcrashed\t1\t1\t1.0.0\tn\tu\twhy\\\n",
       false},
      {"empty path", header + "\t" + key + "\tcrashed\t1\t1\t1.0.0\tn\tu\twhy\n", false},
      {"binary", std::string("\0\xff\n\t\\", 5), false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    writeFile("verdicts.cache", c.text);
    const ktpluginhost::ScanResult scan = PluginHost(Options()).Scan(path("plugins"));
    ASSERT_EQ(scan.plugins.size(), 1u);
    EXPECT_EQ(scan.probes, c.honoured ? 0 : 1);
    EXPECT_EQ(scan.plugins[0].verdict, c.honoured ? Verdict::kCrashed : Verdict::kGood);
    if (c.honoured) {
      EXPECT_EQ(scan.plugins[0].record.name, "n\\a\tm\ne");
      EXPECT_EQ(scan.plugins[0].reason, "why");
      EXPECT_EQ(readFile(path("verdicts.cache")), c.text);  // unchanged: not rewritten
    }
    // Rewritten whole when damaged: read back without a probe.
    EXPECT_EQ(PluginHost(Options()).Scan(path("plugins")).probes, 0);
  }
}

TEST_F(PluginHostTest, ForgetRescanAndRemovedModules) {
  Add({"libgood.so", "libthrows.so"});
  const std::string good = path("plugins/libgood.so"), throws = path("plugins/libthrows.so");
  EXPECT_EQ(PluginHost(Options()).Scan(path("plugins")).probes, 2);
  {
    PluginHost host(Options());
    EXPECT_TRUE(host.Forget(path("plugins/./libthrows.so")));  // the same file
    EXPECT_FALSE(host.Forget(path("plugins/libnone.so")));
    EXPECT_FALSE(host.Forget(throws));
  }
  ktpluginhost::ScanResult scan = PluginHost(Options()).Scan(path("plugins"));
  EXPECT_EQ(scan.probes, 1);
  EXPECT_EQ(scan.plugins[1].source, ktpluginhost::VerdictSource::kProbe);
  EXPECT_EQ(PluginHost(Options(true)).Scan(path("plugins")).probes, 2);

  // A changed module is probed again; a removed one leaves the cache.
  writeFile("plugins/libthrows.so", readFile(std::string(KTTEST_PLUGINS) + "/libexit.so").value());
  scan = PluginHost(Options()).Scan(path("plugins"));
  EXPECT_EQ(scan.probes, 1);
  EXPECT_EQ(scan.plugins[1].verdict, Verdict::kCrashed);
  fs::remove(good);
  PluginHost(Options()).Scan(path("plugins"));
  EXPECT_EQ(readFile(path("verdicts.cache")).value().find(good), std::string::npos);
  EXPECT_NE(readFile(path("verdicts.cache")).value().find(throws), std::string::npos);
}

TEST_F(PluginHostTest, LoadRunsGoodModulesAndRemembersFailures) {
  Add({"libgood.so", "libthrows.so"});
  fs::create_symlink(path("plugins/libgood.so"), path("plugins/libgood_link.so"));
  qrn::ISystem* system = qrnInitSystem(false, 0, nullptr);
  PluginHost host(Options());
  ktpluginhost::ScanResult scan = host.Scan(path("plugins"));
  ASSERT_EQ(scan.plugins.size(), 3u);
  const struct {
    std::size_t index;
    ktpluginhost::LoadResult::Outcome outcome;
    std::string message;
  } cases[] = {
      {0, ktpluginhost::LoadResult::kLoaded, ""},
      {1, ktpluginhost::LoadResult::kSkipped, "same module as " + path("plugins/libgood.so")},
      {2, ktpluginhost::LoadResult::kFailed, "not loaded: its verdict is failed"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.index);
    const ktpluginhost::LoadResult load = host.Load(scan.plugins[c.index], system);
    EXPECT_EQ(load.outcome, c.outcome);
    EXPECT_EQ(load.message, c.message);
    EXPECT_EQ(readFile(path("verdicts.cache.loading")).value_or(""), "");  // no note pending
  }
  EXPECT_EQ(Log(), "good\ngood\nthrows\ngood\n");  // three probes, one load here
  system->RunStartupFactories();
  EXPECT_EQ(Log(), "good\ngood\nthrows\ngood\ngood started\n");

  // A module that fails in the host, though its probe passed, is remembered.
  ktpluginhost::PluginInfo forged = scan.plugins[2];
  forged.verdict = Verdict::kGood;
  const ktpluginhost::LoadResult load = host.Load(forged, system);
  EXPECT_EQ(load.outcome, ktpluginhost::LoadResult::kFailed);
  EXPECT_EQ(load.message, "KtPluginEntry() threw: no licence for this plug-in");
  EXPECT_EQ(load.version, 1);
  scan = PluginHost(Options()).Scan(path("plugins"));
  EXPECT_EQ(scan.probes, 0);
  EXPECT_EQ(scan.plugins[2].reason, "KtPluginEntry() threw: no licence for this plug-in");
  qrnExitSystem();

  // Without its probe a host judges nothing, and remembers nothing.
  PluginHost::Options options = Options(true);
  options.probeProgram = path("no-probe");
  for (int start = 0; start < 2; ++start) {
    scan = PluginHost(options).Scan(path("plugins"));
    EXPECT_EQ(scan.plugins[0].verdict, Verdict::kFailed);
    EXPECT_EQ(scan.plugins[0].reason,
              "cannot start the probe " + path("no-probe") + ": No such file or directory");
  }
  EXPECT_EQ(PluginHost(Options()).Scan(path("nowhere")).error,
            "plug-in folder " + path("nowhere") + " does not exist");
  // A cache that cannot be written says so, and the next scan probes again.
  options = Options();
  options.cacheFile = path("nowhere/verdicts.cache");
  for (int start = 0; start < 2; ++start) {
    scan = PluginHost(options).Scan(path("plugins"));
    EXPECT_EQ(scan.probes, 3);
    EXPECT_EQ(scan.cacheError,
              "cannot write the cache " + options.cacheFile + ": No such file or directory");
  }
}

}  // namespace
