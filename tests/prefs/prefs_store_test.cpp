// Construction, configuration and the destructor's save.
#include <ktbase/ktappdatapath.h>
#include <ktbase/ktpaths.h>

#include <boost/filesystem.hpp>
#include <cstdlib>

#include "prefs_fixture.h"

namespace fs = boost::filesystem;

TEST_F(PrefsTest, FreshManagerHasDefaultFilesAndTokens) {
  const std::string tmp = std::getenv("TMPDIR");
  for (auto t : {kUser, kProject, kSite}) {
    EXPECT_TRUE(map(t).empty());
    EXPECT_FALSE(Peer::loaded(*prefs, t));
  }
  EXPECT_TRUE(Peer::writable(*prefs));
  EXPECT_EQ(file(kProject), "");
  EXPECT_EQ(file(kSite), (fs::path(KTGetRootDir()) / "site.prefs").string());
  EXPECT_EQ(file(kUser), tmp + "/Norvex/Tessel/user.prefs");
  EXPECT_TRUE(fs::is_directory(tmp + "/Norvex/Tessel"));
  EXPECT_STREQ(prefs->GetClsName(), "PrefManager");

  // The two tokens name different folders: the bare base, and the root.
  const PrefMap expected{
      {"<APPDATA_DIR>", CKTAppDataPath("", CKTAppDataPath::eAppDataUser).string()},
      {"<ROOT_DIR>", KTGetRootDir()}};
  EXPECT_EQ(Peer::tokens(*prefs), expected);
}

// Every Configure compares with the user file, whatever the scope.
TEST_F(PrefsTest, ConfigureComparesWithTheUserFile) {
  prefs->Configure("/a/u.prefs", kUser);
  ASSERT_EQ(file(kUser), "/a/u.prefs");
  prefs->Configure("/a/s.prefs", kSite);
  Peer::loaded(*prefs, kSite) = true;

  prefs->Configure("/a/u.prefs", kSite);  // equals the user file: ignored
  EXPECT_EQ(file(kSite), "/a/s.prefs");
  EXPECT_TRUE(Peer::loaded(*prefs, kSite));

  prefs->Configure("/a/s.prefs", kSite);  // its own file again: flag cleared
  EXPECT_EQ(file(kSite), "/a/s.prefs");
  EXPECT_FALSE(Peer::loaded(*prefs, kSite));

  Peer::loaded(*prefs, kUser) = true;
  prefs->Configure("/a/u.prefs", kUser);  // same user file: flag kept
  EXPECT_TRUE(Peer::loaded(*prefs, kUser));

  prefs->Configure("/a/x.prefs", kAll);
  EXPECT_EQ(file(kUser), "/a/u.prefs");
  EXPECT_EQ(file(kProject), "");
  EXPECT_EQ(file(kSite), "/a/s.prefs");

  // Three files: the user file is set first, so equal texts are dropped.
  prefs->Configure("/b/u.prefs", "/b/u.prefs", "/b/s.prefs");
  EXPECT_EQ(file(kUser), "/b/u.prefs");
  EXPECT_EQ(file(kProject), "");
  EXPECT_EQ(file(kSite), "/b/s.prefs");
  EXPECT_FALSE(Peer::loaded(*prefs, kUser));
  prefs->Configure("/c/u.prefs", "/c/p.prefs", "/c/s.prefs");
  EXPECT_EQ(file(kProject), "/c/p.prefs");
}

TEST_F(PrefsTest, DestructorSavesTheUserScopeUnlessReadOnly) {
  useTestFiles();
  prefs->SetPref("u", std::string("1"), kUser);
  prefs->SetPref("p", std::string("2"), kProject);
  prefs->SetPref("s", std::string("3"), kSite);
  prefs.reset();
  EXPECT_EQ(readFile(path("u.prefs")), std::optional<std::string>("u=1\n"));
  EXPECT_FALSE(fs::exists(path("p.prefs")));
  EXPECT_FALSE(fs::exists(path("s.prefs")));

  prefs.reset(new CKTPrefManager());
  prefs->Configure(path("r.prefs"), kUser);
  prefs->SetPref("u", std::string("1"), kUser);
  prefs->Writable(false);
  prefs.reset();
  EXPECT_FALSE(fs::exists(path("r.prefs")));
}
