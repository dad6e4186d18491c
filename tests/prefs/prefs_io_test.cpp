// Loading and saving: scope flags, which files a save touches, and the
// failures a file system can give. The line format itself is checked by the
// replay of the fuzz target fuzz_pref_text against its models, and the
// reader's rules in memory by prefs_text_test.cpp.
#include <unistd.h>

#include <boost/filesystem.hpp>
#include <cerrno>

#include "prefs_fixture.h"

namespace fs = boost::filesystem;

TEST_F(PrefsTest, LoadMarksTheScopeLoadedAndKeepsLaterChanges) {
  useTestFiles();
  writeFile("u.prefs", "a=1\n");
  errno = EINTR;  // left by an earlier call of the caller's: the end of file still ends the read
  EXPECT_TRUE(prefs->LoadFromDisk(kUser));
  EXPECT_TRUE(Peer::loaded(*prefs, kUser));
  EXPECT_EQ(map(kUser), (PrefMap{{"a", "1"}}));
  prefs->SetPref("a", std::string("2"), kUser);
  writeFile("u.prefs", "a=3\n");
  EXPECT_TRUE(prefs->LoadFromDisk(kUser));  // reads nothing
  EXPECT_EQ(map(kUser), (PrefMap{{"a", "2"}}));

  prefs->Configure(path("other.prefs"), kUser);  // clears the flag
  EXPECT_FALSE(Peer::loaded(*prefs, kUser));
  writeFile("other.prefs", "b=4\n");
  EXPECT_TRUE(prefs->LoadFromDisk(kUser));
  EXPECT_EQ(map(kUser), (PrefMap{{"b", "4"}}));
}

// A file whose size is not known in advance (a pipe) is still read to its end.
TEST_F(PrefsTest, UnsizedFileIsReadToTheEnd) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const std::string text = "a=1\nb=" + std::string(100, 'x') + "\n";
  ASSERT_EQ(::write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  ::close(ends[1]);
  prefs->Configure("/dev/fd/" + std::to_string(ends[0]), kUser);
  EXPECT_TRUE(prefs->LoadFromDisk(kUser));
  ::close(ends[0]);
  EXPECT_EQ(map(kUser), (PrefMap{{"a", "1"}, {"b", std::string(100, 'x')}}));
  prefs->Writable(false);
}

TEST_F(PrefsTest, SaveAllWritesEachScopeWithAFile) {
  prefs->Configure(path("s.prefs"), kSite);
  prefs->SetPref("u", std::string("<ROOT_DIR>/x"), kUser);
  prefs->SetPref("p", std::string("2"), kProject);  // project file empty: skipped
  prefs->SetPref("s", std::string("3"), kSite);
  EXPECT_FALSE(prefs->SaveToDisk(kAll));
  EXPECT_EQ(readFile(file(kUser)), std::optional<std::string>("u=<ROOT_DIR>/x\n"));
  EXPECT_EQ(readFile(path("s.prefs")), std::optional<std::string>("s=3\n"));
  prefs->Configure(path("p.prefs"), kProject);
  EXPECT_FALSE(prefs->SaveToDisk(kProject));
  EXPECT_EQ(readFile(path("p.prefs")), std::optional<std::string>("p=2\n"));
}

TEST_F(PrefsTest, PreferencePathIsAFolder) {
  for (auto scope : {kUser, kProject, kSite}) {
    fs::create_directories(path("p" + std::to_string(scope)));
    prefs->Configure(path("p" + std::to_string(scope)), scope);
  }
  const auto before = kttest::Snapshot(dir());
  for (auto scope : {kUser, kProject, kSite}) {
    SCOPED_TRACE(scope);
    prefs->SetPref("old", std::string("1"), scope);
    kttest::LogCapture log;
    // Opening a folder for reading works, reading it does not: one error
    // record, an empty scope, and the scope counts as loaded.
    EXPECT_TRUE(prefs->LoadFromDisk(scope));
    ASSERT_EQ(log.records().size(), 1u);
    EXPECT_EQ(log.records()[0].level, 2);
    EXPECT_EQ(log.records()[0].text, "Error: reading preferences from [" + file(scope) + "]\n");
    EXPECT_TRUE(map(scope).empty());
    EXPECT_TRUE(Peer::loaded(*prefs, scope));
    // A folder cannot be opened for writing: false, and no message.
    prefs->SetPref("new", std::string("2"), scope);
    EXPECT_FALSE(prefs->SaveToDisk(scope));
    EXPECT_EQ(log.records().size(), 1u);
  }
  kttest::LogCapture log;
  EXPECT_FALSE(prefs->SaveToDisk(kAll));
  prefs.reset();  // the destructor's save fails the same way
  EXPECT_TRUE(log.records().empty());
  EXPECT_EQ(kttest::Snapshot(dir()), before);
}
