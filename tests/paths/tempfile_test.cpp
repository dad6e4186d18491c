#include <gtest/gtest.h>
#include <ktbase/kttempfile.h>

#include <boost/filesystem.hpp>
#include <iterator>
#include <tuple>

#include "test_support.h"

namespace fs = boost::filesystem;

namespace {

using TempFileTest = kttest::TempDirTest;

fs::perms Perms(const std::string& p) { return fs::status(p).permissions(); }
bool Exists(const std::string& p) { return fs::exists(fs::symlink_status(p)); }
long OpenFiles() { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); }

TEST_F(TempFileTest, SetPathCreatesOnlyWhenTargetMissing) {
  const std::string present = writeFile("present.prefs", "x"), absent = path("absent.prefs");
  const long open = OpenFiles();
  {
    CKTTempFile tmp(true);
    EXPECT_FALSE(tmp.SetPath(present));
    EXPECT_EQ(tmp.string(), present + ".tmp");
    EXPECT_FALSE(Exists(present + ".tmp"));
    EXPECT_TRUE(tmp.SetPath(absent));
    EXPECT_EQ(readFile(absent + ".tmp"), std::string());
    // A new path removes the previous file.
    EXPECT_TRUE(tmp.SetPath(path("other")));
    EXPECT_FALSE(Exists(absent + ".tmp"));
    EXPECT_FALSE(tmp.CopyFrom(present));
    EXPECT_EQ(readFile(path("other.tmp")), std::string());
  }
  EXPECT_FALSE(Exists(path("other.tmp")));  // deleteOnDestroy
  EXPECT_EQ(OpenFiles(), open);             // and no file left open
  {
    CKTTempFile keep(false);
    EXPECT_FALSE(keep.SetPath(path("no-such-dir/file")));  // cannot create
    EXPECT_TRUE(keep.SetPath(absent));
  }
  EXPECT_TRUE(Exists(absent + ".tmp"));
}

TEST_F(TempFileTest, MakeWritableAddsOnlyOwnerWrite) {
  const std::string file = writeFile("ro", "");
  fs::permissions(file, fs::owner_read | fs::group_read | fs::others_exe);
  KTMakeWritable(file);
  EXPECT_EQ(Perms(file), fs::owner_read | fs::owner_write | fs::group_read | fs::others_exe);
  // Through a link, the target changes.
  fs::permissions(file, fs::owner_read);
  fs::create_symlink(file, path("link"));
  KTMakeWritable(path("link"));
  EXPECT_EQ(Perms(file), fs::owner_read | fs::owner_write);
  EXPECT_THROW(KTMakeWritable(path("missing")), fs::filesystem_error);
}

TEST_F(TempFileTest, RemoveFile) {
  fs::permissions(writeFile("ro", "data"), fs::owner_read);
  writeFile("full/x", "");
  fs::permissions(path("full"), fs::owner_read | fs::owner_exe);
  fs::create_symlink(path("gone"), path("dangling"));
  // Path, result, something there afterwards. access() finds nothing through
  // a dangling link, which is left in place; a full folder cannot go, but was
  // made writable first.
  const std::tuple<const char*, bool, bool> cases[] = {{"ro", true, false},
                                                       {"missing", true, false},
                                                       {"", true, false},
                                                       {"dangling", true, true},
                                                       {"full", false, true}};
  for (const auto& [name, result, there] : cases) {
    SCOPED_TRACE(name);
    const std::string target = *name ? path(name) : "";
    EXPECT_EQ(KTRemoveFile(target), result);
    EXPECT_EQ(Exists(target), there);
  }
  EXPECT_EQ(Perms(path("full")), fs::owner_all);
}

TEST_F(TempFileTest, RecursiveDeleteTreeWithReadOnlyFiles) {
  writeFile("t/a.txt", "");
  writeFile("t/s/b.txt", "");
  writeFile("keep/target", "");
  fs::permissions(path("t/a.txt"), fs::owner_read);
  fs::permissions(path("t/s/b.txt"), fs::others_read);
  fs::permissions(path("keep/target"), fs::owner_read);
  fs::create_symlink(path("keep/target"), path("t/s/filelink"));
  fs::create_directory_symlink(path("keep"), path("t/dirlink"));
  EXPECT_TRUE(KTRecursiveDelete(path("t")));
  EXPECT_FALSE(Exists(path("t")));
  // Linked folders are not entered; a linked file's target became writable.
  EXPECT_TRUE(Exists(path("keep/target")));
  EXPECT_EQ(Perms(path("keep/target")), fs::owner_read | fs::owner_write);
  // A top path that links to a folder: only the link goes, the target's
  // files and their bits stay.
  fs::permissions(path("keep/target"), fs::owner_read);
  fs::create_directory_symlink(path("keep"), path("toplink"));
  EXPECT_TRUE(KTRecursiveDelete(path("toplink")));
  EXPECT_FALSE(Exists(path("toplink")));
  EXPECT_EQ(Perms(path("keep/target")), fs::owner_read);
  fs::create_symlink(path("keep/target"), path("filelink"));
  fs::create_symlink(path("gone"), path("dangling"));
  for (const char* bad : {"t", "keep/target", "filelink", "dangling", ""}) {
    SCOPED_TRACE(bad);
    EXPECT_THROW(KTRecursiveDelete(*bad ? path(bad) : ""), fs::filesystem_error);
  }
  EXPECT_EQ(Perms(path("keep/target")), fs::owner_read);
}

TEST_F(TempFileTest, TempDirNamesNothing) {
  const fs::path cwd = fs::current_path();
  EXPECT_EQ(CKTTempDir().string(), "");  // and its destructor removes nothing
  EXPECT_TRUE(fs::is_directory(cwd));
}

}  // namespace
