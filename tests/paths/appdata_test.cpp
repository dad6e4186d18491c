#include <gtest/gtest.h>
#include <ktbase/ktappdatapath.h>
#include <ktbase/ktprefmanager.h>
#include <ktbase/moduleutils.h>

#include <boost/filesystem.hpp>

#include "test_support.h"

namespace fs = boost::filesystem;

namespace {

class AppDataPathTest : public kttest::TempDirTest {
 protected:
  // The other variables the temporary directory falls back on, cleared.
  kttest::ScopedEnv m_tmp{"TMP", std::nullopt}, m_temp{"TEMP", std::nullopt},
      m_tempdir{"TEMPDIR", std::nullopt};
};

TEST_F(AppDataPathTest, BelowTemporaryDirectoryForEveryKind) {
  const std::string tmp = path("tmp");  // the fixture's TMPDIR
  for (auto kind : {CKTAppDataPath::eAppDataUser, CKTAppDataPath::eAppDataCommon,
                    CKTAppDataPath::eAppDataLocal}) {
    SCOPED_TRACE(kind);
    CKTAppDataPath app("Norvex/Tessel", kind);
    EXPECT_EQ(app.string(), tmp + "/Norvex/Tessel");
    EXPECT_EQ(app.Set("", kind).string(), tmp);
    std::string out = "old";
    EXPECT_TRUE(app.GetAppData(out, kind));
    EXPECT_EQ(out, tmp);
  }
  {
    kttest::ScopedEnv env("TMPDIR", tmp + "/");  // no doubled separator
    EXPECT_EQ(CKTAppDataPath("Norvex", CKTAppDataPath::eAppDataUser).string(), tmp + "/Norvex");
  }
  {
    kttest::ScopedEnv env("TMPDIR", std::nullopt);
    EXPECT_EQ(CKTAppDataPath("Norvex/Tessel", CKTAppDataPath::eAppDataUser).string(),
              "/tmp/Norvex/Tessel");
    kttest::ScopedEnv other("TEMP", dir());  // the next variable is consulted
    EXPECT_EQ(CKTAppDataPath("", CKTAppDataPath::eAppDataUser).string(), dir());
  }
}

TEST_F(AppDataPathTest, UnusableTemporaryDirectoryThrowsAndMakesNoManager) {
  // An empty TMPDIR is not skipped by the filesystem library: it is unusable.
  const std::string values[] = {"", path("missing"), writeFile("file", "")};
  const auto before = kttest::Snapshot(dir());
  for (const std::string& value : values) {
    SCOPED_TRACE(value);
    kttest::ScopedEnv env("TMPDIR", value);
    EXPECT_THROW(CKTAppDataPath("x", CKTAppDataPath::eAppDataUser), fs::filesystem_error);
    EXPECT_THROW(delete IKTPrefManager::Create(), fs::filesystem_error);
    EXPECT_EQ(ModuleUtils::GetTempPath(), value);  // reported as it stands
  }
  EXPECT_EQ(kttest::Snapshot(dir()), before);
}

TEST_F(AppDataPathTest, MakeDirs) {
  CKTAppDataPath app("Norvex/Tessel", CKTAppDataPath::eAppDataUser);
  EXPECT_TRUE(app.MakeDirs(""));  // created
  EXPECT_TRUE(fs::is_directory(app.string()));
  EXPECT_TRUE(app.MakeDirs(""));  // already there
  EXPECT_TRUE(app.MakeDirs("a/b"));
  EXPECT_TRUE(fs::is_directory(app.string() + "/a/b"));
  writeFile("tmp/Norvex/Tessel/plain", "");
  EXPECT_FALSE(app.MakeDirs("plain"));
  EXPECT_FALSE(app.MakeDirs("plain/below"));  // cannot be created under a file
  EXPECT_TRUE(fs::is_regular_file(app.string() + "/plain"));
}

}  // namespace
