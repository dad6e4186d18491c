// The file format: parsing, exact bytes written, load and save results and
// flags, and bad input.
#include <boost/filesystem.hpp>
#include <set>

#include "prefs_fixture.h"

namespace fs = boost::filesystem;

namespace {

std::set<std::string> listDir(const std::string& dir) {
  std::set<std::string> names;
  for (fs::recursive_directory_iterator it(dir), end; it != end; ++it)
    names.insert(fs::relative(it->path(), dir).string());
  return names;
}

std::string warning(const std::string& line, const std::string& file) {
  return "Warning : Ignoring line [" + line + "] in " + file + "\nReason : No '=' token found\n";
}

}  // namespace

TEST_F(PrefsTest, SaveWritesSortedLinesExactly) {
  useTestFiles();
  prefs->SetPref("b", 2, kUser);
  prefs->SetPref("a", std::string("x y"), kUser);
  const auto before = listDir(dir());
  EXPECT_FALSE(prefs->SaveToDisk(kUser));  // a complete write gives false
  EXPECT_EQ(readFile(path("u.prefs")), std::optional<std::string>("a=x y\nb=2\n"));
  auto after = listDir(dir());
  after.erase("u.prefs");
  EXPECT_EQ(after, before);  // nothing else written
}

TEST_F(PrefsTest, LoadParsesLines) {
  const std::string longValue(3000, 'v');
  struct Case {
    const char* name;
    std::string content;
    PrefMap expected;
    std::vector<std::string> warned;  // lines reported without '='
  } cases[] = {
      {"mixed",
       "  key  =  some value  \nempty=\nnovalue\n   \n",
       {{"key", "some value"}, {"empty", ""}},
       {"novalue"}},
      {"value holds =", "a=b=c", {{"a", "b=c"}}, {}},
      {"duplicate key", "x=1\nx=2\n", {{"x", "2"}}, {}},
      {"carriage return kept", "k=v\r\n", {{"k", "v\r"}}, {}},
      {"tabs kept", "\tk\t= \tv\t \n", {{"\tk\t", "\tv\t"}}, {}},
      {"key starts at =", "=abc\n", {{"=abc", "abc"}}, {}},
      {"blank key part", "  =x\n", {{"=x", "x"}}, {}},
      {"value of spaces", "k=   \n", {{"k", ""}}, {}},
      {"blank lines", "\n\na=1\n\n", {{"a", "1"}}, {}},
      {"no final line feed", "a=1\nb=2", {{"a", "1"}, {"b", "2"}}, {}},
      {"lone carriage return", "\r\n", {}, {"\r"}},
      {"long line", "k=" + longValue + "\n", {{"k", longValue}}, {}},
      {"empty file", "", {}, {}},
      {"spaces only", "     ", {}, {}},
      // Chunks are joined as C strings: text after a zero byte in a chunk is lost.
      {"zero byte", std::string("a=1\0junk\nb=2\n", 13), {{"a", "1b=2"}}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string file = writeFile("in.prefs", c.content);
    prefs->Configure(file, kSite);
    Peer::loaded(*prefs, kSite) = false;
    kttest::LogCapture log;
    EXPECT_TRUE(prefs->LoadFromDisk(kSite));
    EXPECT_EQ(map(kSite), c.expected);
    ASSERT_EQ(log.records().size(), c.warned.size());
    for (std::size_t i = 0; i < c.warned.size(); ++i) {
      EXPECT_EQ(log.records()[i].level, 1);
      EXPECT_EQ(log.records()[i].text, warning(c.warned[i], file));
    }
  }
}

TEST_F(PrefsTest, BinaryFileLoadsWithoutCrash) {
  std::string bytes;
  for (int i = 0; i < 4096; ++i) bytes += static_cast<char>((i * 7919) & 0xff);
  prefs->Configure(writeFile("bin.prefs", bytes), kSite);
  kttest::LogCapture log;
  EXPECT_TRUE(prefs->LoadFromDisk(kSite));
  for (const auto& record : log.records()) EXPECT_EQ(record.level, 1);
}

TEST_F(PrefsTest, LoadMarksTheScopeLoadedAndKeepsLaterChanges) {
  useTestFiles();
  writeFile("u.prefs", "a=1\n");
  EXPECT_TRUE(prefs->LoadFromDisk(kUser));
  EXPECT_TRUE(Peer::loaded(*prefs, kUser));
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

TEST_F(PrefsTest, MissingFileEmptiesTheScope) {
  useTestFiles();
  prefs->SetPref("old", std::string("1"), kProject);
  kttest::LogCapture log;
  EXPECT_TRUE(prefs->LoadFromDisk(kProject));
  EXPECT_TRUE(map(kProject).empty());
  EXPECT_TRUE(Peer::loaded(*prefs, kProject));
  EXPECT_TRUE(log.records().empty());
}

TEST_F(PrefsTest, LoadAllReadsNothing) {
  useTestFiles();
  writeFile("u.prefs", "a=1\n");
  prefs->SetPref("keep", std::string("1"), kSite);
  EXPECT_FALSE(prefs->LoadFromDisk(kAll));
  EXPECT_TRUE(map(kUser).empty());
  EXPECT_EQ(map(kSite).size(), 1u);
  for (auto t : {kUser, kProject, kSite}) EXPECT_FALSE(Peer::loaded(*prefs, t));
}

TEST_F(PrefsTest, SaveAllWritesEachScopeWithAFile) {
  prefs->Configure(path("s.prefs"), kSite);
  prefs->SetPref("u", std::string("<ROOT_DIR>/x"), kUser);
  prefs->SetPref("p", std::string("2"), kProject);  // project file empty: skipped
  prefs->SetPref("s", std::string("3"), kSite);
  EXPECT_FALSE(prefs->SaveToDisk(kAll));
  EXPECT_EQ(readFile(file(kUser)), std::optional<std::string>("u=<ROOT_DIR>/x\n"));
  EXPECT_EQ(readFile(path("s.prefs")), std::optional<std::string>("s=3\n"));

  // Tokens stay literal through save and load.
  prefs->SetPref("u", std::string("changed"), kUser);
  EXPECT_TRUE(prefs->LoadFromDisk(kUser));
  EXPECT_EQ(map(kUser), (PrefMap{{"u", "<ROOT_DIR>/x"}}));
}

TEST_F(PrefsTest, SaveSkipsReadOnlyAndEmptyScopes) {
  useTestFiles();
  writeFile("u.prefs", "old=1\n");
  prefs->SetPref("a", std::string("1"), kUser);
  prefs->Writable(false);
  EXPECT_FALSE(prefs->SaveToDisk(kUser));
  EXPECT_EQ(readFile(path("u.prefs")), std::optional<std::string>("old=1\n"));

  prefs->Writable(true);
  map(kUser).clear();  // an emptied scope never rewrites its file
  EXPECT_FALSE(prefs->SaveToDisk(kUser));
  EXPECT_EQ(readFile(path("u.prefs")), std::optional<std::string>("old=1\n"));
}

TEST_F(PrefsTest, ShortWriteReportsTrue) {
  useTestFiles();
  prefs->SetPref("a", std::string("x\0y", 3), kUser);
  prefs->SetPref("b", std::string("2"), kUser);
  kttest::LogCapture log;
  EXPECT_TRUE(prefs->SaveToDisk(kUser));
  EXPECT_EQ(readFile(path("u.prefs")), std::optional<std::string>("a=x"));
  ASSERT_EQ(log.records().size(), 1u);
  EXPECT_EQ(log.records()[0].level, 2);
  EXPECT_EQ(log.records()[0].text, "Error: writing preferences to [" + path("u.prefs") + "]\n");
  prefs->Writable(false);  // no second short write from the destructor
}

TEST_F(PrefsTest, FullDevice) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
  prefs->Configure("/dev/full", kSite);
  const auto before = kttest::Snapshot(dir());
  {
    // A small file stays in the stream's buffer: the device's refusal only
    // shows when the file is closed, which the save does not check.
    kttest::LogCapture log;
    prefs->SetPref("small", std::string("1"), kSite);
    EXPECT_FALSE(prefs->SaveToDisk(kSite));
    EXPECT_TRUE(log.records().empty());
  }
  // Larger than the stream buffer, so fprintf itself sees the failure.
  prefs->SetPref("k", std::string(1 << 16, 'v'), kSite);
  kttest::LogCapture log;
  EXPECT_TRUE(prefs->SaveToDisk(kSite));
  EXPECT_TRUE(prefs->SaveToDisk(kAll));
  ASSERT_EQ(log.records().size(), 2u);
  for (const auto& record : log.records()) {
    EXPECT_EQ(record.level, 2);
    EXPECT_EQ(record.text, "Error: writing preferences to [/dev/full]\n");
  }
  EXPECT_EQ(kttest::Snapshot(dir()), before);
}

TEST_F(PrefsTest, PreferencePathIsAFolder) {
  for (auto scope : {kUser, kProject, kSite}) {
    fs::create_directories(path("p" + std::to_string(scope)));
    prefs->Configure(path("p" + std::to_string(scope)), scope);
  }
  const auto before = kttest::Snapshot(dir());
  for (auto scope : {kUser, kProject, kSite}) {
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
