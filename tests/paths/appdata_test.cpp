#include <gtest/gtest.h>
#include <ktbase/ktappdatapath.h>
#include <ktbase/ktprefmanager.h>

#include <boost/filesystem.hpp>

#include "test_support.h"

namespace fs = boost::filesystem;

namespace {

constexpr auto kUser = CKTAppDataPath::eAppDataUser;

class AppDataPathTest : public kttest::TempDirTest {
 protected:
  // The other variables the temporary directory falls back on, cleared.
  kttest::ScopedEnv m_tmp{"TMP", std::nullopt}, m_temp{"TEMP", std::nullopt},
      m_tempdir{"TEMPDIR", std::nullopt};
};

TEST_F(AppDataPathTest, BelowTemporaryDirectoryForEveryKind) {
  const std::string tmp = path("tmp");  // the fixture's TMPDIR
  for (auto kind : {kUser, CKTAppDataPath::eAppDataCommon, CKTAppDataPath::eAppDataLocal}) {
    SCOPED_TRACE(kind);
    CKTAppDataPath app("Norvex/Tessel", kind);
    EXPECT_EQ(app.string(), tmp + "/Norvex/Tessel");
    EXPECT_EQ(app.Set("", kind).string(), tmp);
  }
  {
    kttest::ScopedEnv env("TMPDIR", tmp + "/");  // no doubled separator
    EXPECT_EQ(CKTAppDataPath("Norvex", kUser).string(), tmp + "/Norvex");
  }
  kttest::ScopedEnv env("TMPDIR", std::nullopt);
  EXPECT_EQ(CKTAppDataPath("Norvex/Tessel", kUser).string(), "/tmp/Norvex/Tessel");
  kttest::ScopedEnv other("TEMP", dir());  // the next variable is consulted
  EXPECT_EQ(CKTAppDataPath("", kUser).string(), dir());
}

TEST_F(AppDataPathTest, UnusableTemporaryDirectoryThrowsAndEmptiesThePath) {
  // An empty TMPDIR is not skipped by the filesystem library: it is unusable.
  const std::string values[] = {"", path("missing"), writeFile("file", "")};
  const auto before = kttest::Snapshot(dir());
  for (const std::string& value : values) {
    SCOPED_TRACE(value);
    CKTAppDataPath app("x", kUser);
    kttest::ScopedEnv env("TMPDIR", value);
    EXPECT_THROW(app.Set("x", kUser), fs::filesystem_error);
    EXPECT_EQ(app.string(), "");
    std::string out = "old";
    EXPECT_THROW(app.GetAppData(out, kUser), fs::filesystem_error);
    EXPECT_EQ(out, "");
    EXPECT_THROW(delete IKTPrefManager::Create(), fs::filesystem_error);
  }
  EXPECT_EQ(kttest::Snapshot(dir()), before);
}

TEST_F(AppDataPathTest, MakeDirs) {
  CKTAppDataPath app("Norvex/Tessel", kUser);
  EXPECT_TRUE(app.MakeDirs(""));  // created
  EXPECT_TRUE(app.MakeDirs(""));  // already there
  EXPECT_TRUE(app.MakeDirs("a/b"));
  EXPECT_TRUE(fs::is_directory(app.string() + "/a/b"));
  writeFile("tmp/Norvex/Tessel/plain", "");
  EXPECT_FALSE(app.MakeDirs("plain"));
  EXPECT_FALSE(app.MakeDirs("plain/below"));  // cannot be created under a file
  EXPECT_TRUE(fs::is_regular_file(app.string() + "/plain"));
  // A status that cannot be read for another reason than a missing entry.
  fs::create_symlink("loop", path("tmp/Norvex/Tessel/loop"));
  EXPECT_THROW(app.MakeDirs("loop"), fs::filesystem_error);
}

}  // namespace
