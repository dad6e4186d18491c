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

// Every answer of one round of calls, in the order made, as one text.
std::string ReadAll(IKTPrefManager& prefs) {
  int count = 0;
  float ratio = 0;
  bool flag = false;
  std::string path, name, missing;
  std::vector<std::string> list;
  unsigned long length = 0;
  prefs.GetPref("Render.Threads", 0, count, false);
  prefs.GetPref("Render.Ratio", 1.0f, ratio, false);
  prefs.GetPref("Show.Grid", false, flag, true);
  const bool isPref = prefs.IsPref("Show.Grid", false, false);
  prefs.GetPref("Cache.Path", std::string(), path, false);  // tokens expanded
  prefs.GetPref("Site.Name", "none", name, true);
  prefs.GetPref("No.Such.Key", "fallback", missing, false);
  prefs.GetPref("Plugin.List", ',', {}, list, false);
  prefs.GetPref("Cache.Path", nullptr, length);
  std::string raw(length, '\0');
  prefs.GetPref("Cache.Path", raw.data(), length);
  const KtUID uid("0123abcd-ef01-2345-6789-abcdef012345", true);
  char text[37];
  uid.GetStr(text);
  const bool valid = KtUID::IsUID(text) && !KtUID::IsUID(KtUID::GetNullUIDStr() + 1);
  const bool same = uid == KtUID(text, false);
  std::string all = std::to_string(count) + ' ' + std::to_string(ratio) + ' ' +
                    std::to_string(flag + 2 * isPref + 4 * valid + 8 * same) + ' ' + path + ' ' +
                    name + ' ' + missing + ' ' + raw + ' ' + text + ' ' +
                    std::to_string(xdigitToUint8(text[3])) + ' ' + KTGetBinDir() + ' ' +
                    KTGetRootDir() + ' ' + KTGetDBDir() + ' ' +
                    KTGetDynamicLibraryPath("libktbase") + ' ' + ModuleUtils::GetTempPath();
  for (const std::string& piece : list) all += ',' + piece;
  return all;
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

  const std::string expected = ReadAll(*prefs);
  EXPECT_EQ(expected.rfind("8 0.250000 15 ", 0), 0u) << expected;
  EXPECT_EQ(expected.find('<'), std::string::npos) << expected;  // tokens expanded
  EXPECT_EQ(expected.substr(expected.size() - 5), ",a,,b") << expected;

  // Calls per thread: KTTEST_READS when set (the tsan preset's 300000), else
  // few enough for valgrind.
  const char* wanted = std::getenv("KTTEST_READS");
  const long reads = wanted != nullptr ? std::atol(wanted) : 16000;
  std::vector<long> wrong(kThreads, 0);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (long round = 0; round < reads / kCallsPerRound; ++round)
        if (ReadAll(*prefs) != expected) ++wrong[t];
    });
  }
  for (auto& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(wrong[t], 0) << "thread " << t;
}

}  // namespace
