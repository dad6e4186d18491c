// End-to-end fault scenarios: a full device, a preference path that is a
// folder, an unusable "TMPDIR", the library reached through symbolic links,
// symbolic-link cycles and vanishing files under a search path, and modules
// that cannot be loaded. Each ends in a defined result, and nothing is written
// outside the files named (the test folder is compared before and after).
#include <dlfcn.h>
#include <ktbase/ktappdatapath.h>
#include <ktbase/ktprefmanager.h>
#include <ktbase/ktsearchpath.h>
#include <ktbase/moduleutils.h>

#include <algorithm>
#include <boost/filesystem.hpp>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "test_support.h"

namespace fs = boost::filesystem;
using Pref = IKTPrefManager;

namespace {

std::string ReadAll(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Every entry below `root` (links not followed): folder, link target or file
// content.
std::map<std::string, std::string> Snapshot(const std::string& root) {
  std::map<std::string, std::string> entries;
  for (fs::recursive_directory_iterator it(root), end; it != end; ++it) {
    const fs::path& p = it->path();
    const fs::file_status st = it->symlink_status();
    std::string& entry = entries[p.string()];
    if (fs::is_symlink(st))
      entry = "link:" + fs::read_symlink(p).string();
    else if (fs::is_directory(st))
      entry = "folder";
    else
      entry = "file:" + ReadAll(p.string());
  }
  return entries;
}

std::vector<std::string> Sorted(std::vector<std::string> v) {
  std::sort(v.begin(), v.end());
  return v;
}

class FaultTest : public kttest::TempDirTest {
 protected:
  std::unique_ptr<Pref> NewPrefs() { return std::unique_ptr<Pref>(Pref::Create()); }
  std::string MakeFolder(const std::string& relative) {
    fs::create_directories(path(relative));
    return path(relative);
  }
};

TEST_F(FaultTest, SaveIntoFullDevice) {
  auto prefs = NewPrefs();
  const auto before = Snapshot(dir());
  prefs->Configure("/dev/full", Pref::ePrefUser);
  {
    // A small file stays in the stream's buffer: the device's refusal only
    // shows when the file is closed, which the save does not check.
    kttest::LogCapture log;
    prefs->SetPref("small", std::string("1"), Pref::ePrefUser);
    EXPECT_FALSE(prefs->SaveToDisk(Pref::ePrefUser));
    EXPECT_TRUE(log.records().empty());
  }
  for (int i = 0; i < 2000; ++i)  // ~90 KB: the formatted write itself fails
    prefs->SetPref("key" + std::to_string(i), std::string(40, 'v'), Pref::ePrefUser);
  kttest::LogCapture log;
  EXPECT_TRUE(prefs->SaveToDisk(Pref::ePrefUser));
  EXPECT_TRUE(prefs->SaveToDisk(Pref::ePrefAll));
  ASSERT_EQ(log.records().size(), 2u);
  for (const auto& record : log.records()) {
    EXPECT_EQ(record.level, 2);
    EXPECT_EQ(record.text, "Error: writing preferences to [/dev/full]\n");
  }
  prefs->Writable(false);
  prefs.reset();
  EXPECT_EQ(Snapshot(dir()), before);
}

TEST_F(FaultTest, PreferencePathIsAFolder) {
  auto prefs = NewPrefs();
  const Pref::EPrefType scopes[] = {Pref::ePrefUser, Pref::ePrefProject, Pref::ePrefSite};
  for (Pref::EPrefType scope : scopes)
    prefs->Configure(MakeFolder("p" + std::to_string(scope)), scope);
  const auto before = Snapshot(dir());
  for (Pref::EPrefType scope : scopes) {
    SCOPED_TRACE(scope);
    const std::string folder = path("p" + std::to_string(scope));
    prefs->SetPref("old", std::string("1"), scope);
    kttest::LogCapture log;
    // Opening a folder for reading works, reading it does not: one error
    // record, an empty scope, and the scope counts as loaded.
    EXPECT_TRUE(prefs->LoadFromDisk(scope));
    ASSERT_EQ(log.records().size(), 1u);
    EXPECT_EQ(log.records()[0].level, 2);
    EXPECT_EQ(log.records()[0].text, "Error: reading preferences from [" + folder + "]\n");
    std::string value;
    EXPECT_EQ(prefs->GetPref("old", std::string("gone"), value, false), "gone");
    // A folder cannot be opened for writing: false, and no message.
    prefs->SetPref("new", std::string("2"), scope);
    EXPECT_FALSE(prefs->SaveToDisk(scope));
    EXPECT_EQ(log.records().size(), 1u);
    EXPECT_TRUE(fs::is_directory(folder) && fs::is_empty(folder));
  }
  {
    kttest::LogCapture log;
    EXPECT_FALSE(prefs->SaveToDisk(Pref::ePrefAll));
    prefs.reset();  // the destructor's save fails the same way
    EXPECT_TRUE(log.records().empty());
  }
  EXPECT_EQ(Snapshot(dir()), before);
}

TEST_F(FaultTest, UnusableTmpdirMakesNoManager) {
  writeFile("plain", "not a folder");
  const struct {
    const char* name;
    std::string value;
  } cases[] = {{"missing", path("missing")}, {"empty", ""}, {"a file", path("plain")}};
  const auto before = Snapshot(dir());
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    kttest::ScopedEnv tmpdir("TMPDIR", c.value);
    EXPECT_THROW(delete Pref::Create(), fs::filesystem_error);
    EXPECT_THROW(CKTAppDataPath("Norvex/Tessel", CKTAppDataPath::eAppDataUser),
                 fs::filesystem_error);
    EXPECT_EQ(ModuleUtils::GetTempPath(), c.value);  // reported as it stands
  }
  EXPECT_EQ(Snapshot(dir()), before);
}

// The probe loads a copy of the library by the path given and prints the
// directories it derives from where the loader says it is.
std::string Probe(const std::string& library) {
  const std::string command =
      std::string("'") + KTFAULT_PROBE + "' '" + KTFAULT_LOGMANAGER + "' '" + library + "' 2>&1";
  std::string out;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char buffer[512];
    while (fgets(buffer, sizeof buffer, pipe) != nullptr) out += buffer;
    EXPECT_EQ(pclose(pipe), 0) << out;
  }
  return out;
}

TEST_F(FaultTest, LibraryReachedThroughSymbolicLinks) {
  const std::string d = dir();
  const std::string realBin = MakeFolder("real/bin/linux_intel.release");
  fs::copy_file(KTFAULT_KTBASE, realBin + "/libktbase.so");
  fs::copy_file(KTFAULT_LOGMANAGER, realBin + "/liblogmanager.so");
  fs::create_symlink("real", path("inst"));
  MakeFolder("links/lib");
  fs::create_symlink(realBin + "/libktbase.so", path("links/lib/libktbase.so"));
  fs::create_symlink(realBin + "/libktbase.so", path("links/lib/libother.so"));
  MakeFolder("chain/x");
  fs::create_symlink("../../links/lib/libktbase.so", path("chain/x/libktbase.so"));
  const auto before = Snapshot(d);

  // The loader records the path as it was given, links unresolved; a file
  // that is not named "libktbase.so" is not recognised at all.
  const struct {
    const char* loaded;
    std::string bin, root, db;
  } cases[] = {
      {"inst/bin/linux_intel.release/libktbase.so", d + "/inst/bin/linux_intel.release",
       d + "/inst", d + "/inst/db"},
      {"links/lib/libktbase.so", d + "/links/lib", d, d + "/db"},
      {"chain/x/libktbase.so", d + "/chain/x", d, d + "/db"},
      {"links/lib/libother.so", "", "", "db"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.loaded);
    EXPECT_EQ(Probe(path(c.loaded)), "bin=" + c.bin + "\nroot=" + c.root + "\ndb=" + c.db + "\n");
  }
  EXPECT_EQ(Snapshot(d), before);
}

TEST_F(FaultTest, SymbolicLinkCyclesUnderRecursiveSearch) {
  MakeFolder("dircycle/a");
  fs::create_symlink("..", path("dircycle/a/up"));  // a folder that contains itself
  MakeFolder("selfcycle");
  fs::create_symlink("self", path("selfcycle/self"));  // a link that resolves to itself
  const auto before = Snapshot(dir());
  for (const char* tree : {"dircycle", "selfcycle"}) {
    SCOPED_TRACE(tree);
    // There is no cycle guard: the walk ends when the system refuses to
    // resolve the path any further.
    KTSearchPath search;
    EXPECT_THROW(search.Add(path(tree).c_str(), true), fs::filesystem_error);
  }
  KTSearchPath flat;
  flat.Add(path("selfcycle").c_str(), false);
  std::vector<std::string> found;
  EXPECT_THROW(flat.FindByExtension(found, ".txt"), fs::filesystem_error);
  EXPECT_EQ(Snapshot(dir()), before);
}

TEST_F(FaultTest, FilesRemovedBetweenAddAndFind) {
  for (const char* file : {"t/z.txt", "t/a/x.txt", "t/a/keep.txt", "t/b/y.txt"})
    writeFile(file, "");
  KTSearchPath search;
  search.Add(path("t").c_str(), false);
  search.Add(path("t/a").c_str(), false);
  search.Add(path("t/b/y.txt").c_str(), false);  // a file adds its folder

  fs::remove(path("t/a/x.txt"));
  fs::create_symlink(path("t/a/nowhere"), path("t/a/dangling.txt"));
  std::vector<std::string> found;
  EXPECT_TRUE(search.FindByExtension(found, ".txt"));
  const std::vector<std::string> first = {path("t/z.txt"), path("t/a/keep.txt"),
                                          path("t/a/dangling.txt")};
  std::vector<std::string> all = first;
  all.push_back(path("t/b/y.txt"));
  EXPECT_EQ(Sorted(found), Sorted(all));

  // A listed folder that has gone: an error, and what came before stays.
  fs::remove_all(path("t/b"));
  const auto before = Snapshot(dir());
  found.clear();
  EXPECT_THROW(search.FindByExtension(found, ".txt"), fs::filesystem_error);
  EXPECT_EQ(Sorted(found), Sorted(first));
  EXPECT_EQ(Snapshot(dir()), before);
}

TEST_F(FaultTest, ModulesThatFailToLoad) {
  writeFile("empty.so", "");
  writeFile("text.so", "this is not a shared object\n");
  const std::string whole = ReadAll(KTFAULT_LAZY);
  ASSERT_GT(whole.size(), 64u);
  writeFile("truncated.so", whole.substr(0, 64));
  MakeFolder("folder.so");
  const auto before = Snapshot(dir());

  const std::string failing[] = {path("missing.so"),   path("empty.so"),  path("text.so"),
                                 path("truncated.so"), path("folder.so"), KTFAULT_UNDEFINED_DATA,
                                 KTFAULT_NEEDS_DEP};
  for (const std::string& module : failing) {
    SCOPED_TRACE(module);
    for (bool flag : {false, true}) {
      dlerror();
      EXPECT_EQ(ModuleUtils::LoadModule(module.c_str(), flag), nullptr);
      EXPECT_NE(dlerror(), nullptr);  // the loader's reason is left for the caller
    }
  }

  // Only function references are bound lazily: a module that calls an
  // undefined function loads, and what it defines is usable.
  void* lazy = ModuleUtils::LoadModule(KTFAULT_LAZY, false);
  ASSERT_NE(lazy, nullptr) << dlerror();
  auto defined = reinterpret_cast<int (*)()>(ModuleUtils::GetLibraryFunc(lazy, "ktfault_defined"));
  ASSERT_NE(defined, nullptr);
  EXPECT_EQ(defined(), 42);
  EXPECT_EQ(ModuleUtils::GetLibraryFunc(lazy, "ktfault_nowhere"), nullptr);
  EXPECT_EQ(ModuleUtils::UnloadModule(lazy), 0);
  EXPECT_EQ(Snapshot(dir()), before);
}

}  // namespace
