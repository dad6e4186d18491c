// The calls the headers promise may run on many threads at once: every
// preference getter on a loaded manager that nobody writes to, and the
// identifier and install-folder functions. Each thread checks its answers
// against one read made before the threads start; under ThreadSanitizer (the
// tsan preset) any race fails the test as well.
#include <gtest/gtest.h>
#include <ktbase/ktpaths.h>
#include <ktbase/ktprefmanager.h>
#include <ktbase/ktuid.h>
#include <ktbase/moduleutils.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "test_support.h"

namespace {

constexpr int kThreads = 8;
constexpr long kCallsPerRound = 23;  // library calls in ReadAll()

// Every read of one round, in the order made.
struct Answers {
  bool flag = false, isPref = false, valid = false, sameUid = false;
  int count = 0;
  float ratio = 0;
  unsigned long rawLength = 0;
  std::string path, name, missing, raw, uidText, binDir, rootDir, dbDir, library, tempPath;
  std::vector<std::string> list;
  unsigned char digit = 0;

  bool operator==(const Answers& o) const {
    return flag == o.flag && isPref == o.isPref && valid == o.valid && sameUid == o.sameUid &&
           count == o.count && ratio == o.ratio && rawLength == o.rawLength && path == o.path &&
           name == o.name && missing == o.missing && raw == o.raw && uidText == o.uidText &&
           binDir == o.binDir && rootDir == o.rootDir && dbDir == o.dbDir && library == o.library &&
           tempPath == o.tempPath && list == o.list && digit == o.digit;
  }
};

Answers ReadAll(IKTPrefManager& prefs) {
  Answers a;
  prefs.GetPref("Render.Threads", 0, a.count, false);
  prefs.GetPref("Render.Ratio", 1.0f, a.ratio, false);
  prefs.GetPref("Show.Grid", false, a.flag, true);
  a.isPref = prefs.IsPref("Show.Grid", false, false);
  prefs.GetPref("Cache.Path", std::string(), a.path, false);  // tokens expanded
  prefs.GetPref("Site.Name", "none", a.name, true);
  prefs.GetPref("No.Such.Key", "fallback", a.missing, false);
  prefs.GetPref("Plugin.List", ',', {}, a.list, false);
  prefs.GetPref("Cache.Path", nullptr, a.rawLength);
  a.raw.resize(a.rawLength);
  prefs.GetPref("Cache.Path", a.raw.data(), a.rawLength);
  const KtUID uid("0123abcd-ef01-2345-6789-abcdef012345", true);
  char text[37];
  uid.GetStr(text);
  a.uidText = text;
  a.valid = KtUID::IsUID(text) && !KtUID::IsUID(KtUID::GetNullUIDStr() + 1);
  a.sameUid = uid == KtUID(text, false);
  a.digit = xdigitToUint8(text[3]);
  a.binDir = KTGetBinDir();
  a.rootDir = KTGetRootDir();
  a.dbDir = KTGetDBDir();
  a.library = KTGetDynamicLibraryPath("libktbase");
  a.tempPath = ModuleUtils::GetTempPath();
  return a;
}

class ConcurrentReadsTest : public kttest::TempDirTest {};

TEST_F(ConcurrentReadsTest, GettersIdentifiersAndPathsOnEightThreads) {
  writeFile("user.prefs",
            "Render.Threads=8\nCache.Path=<APPDATA_DIR>/cache:<ROOT_DIR>/db\nPlugin.List=a,,b\n");
  writeFile("project.prefs", "Render.Ratio=0.25\nShow.Grid=true\n");
  writeFile("site.prefs", "Render.Threads=2\nShow.Grid=1\nSite.Name=studio\n");
  std::unique_ptr<IKTPrefManager> prefs(IKTPrefManager::Create());
  prefs->Writable(false);
  prefs->Configure(path("user.prefs"), path("project.prefs"), path("site.prefs"));
  for (auto scope :
       {IKTPrefManager::ePrefUser, IKTPrefManager::ePrefProject, IKTPrefManager::ePrefSite})
    ASSERT_TRUE(prefs->LoadFromDisk(scope));

  const Answers expected = ReadAll(*prefs);
  EXPECT_EQ(expected.count, 8);
  EXPECT_EQ(expected.path.find('<'), std::string::npos);
  EXPECT_EQ(expected.list, (std::vector<std::string>{"a", "", "b"}));
  EXPECT_NE(expected.binDir, "");

  // Calls per thread: KTTEST_READS when set (the tsan preset's 300000), else
  // few enough for valgrind.
  const char* wanted = std::getenv("KTTEST_READS");
  const long reads = wanted != nullptr ? std::atol(wanted) : 16000;
  std::vector<long> wrong(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (long round = 0; round < reads / kCallsPerRound; ++round)
        if (!(ReadAll(*prefs) == expected)) ++wrong[t];
    });
  }
  for (auto& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(wrong[t], 0) << "thread " << t;
}

}  // namespace
