#include <gtest/gtest.h>
#include <ktbase/ktsearchpath.h>

#include <algorithm>
#include <boost/filesystem.hpp>

#include "test_support.h"

namespace fs = boost::filesystem;

namespace {

// Records the folders Add() visits, in order, through the virtual operation.
class RecordingSearchPath : public KTSearchPath {
 public:
  void Add(const char* path, bool recursive) override {
    if (path != nullptr) visited.emplace_back(path);
    KTSearchPath::Add(path, recursive);
  }
  std::vector<std::string> visited;
};

class SearchPathTest : public kttest::TempDirTest {
 protected:
  std::vector<std::string> Find(KTSearchPath& sp, const char* ext) {
    std::vector<std::string> found;
    EXPECT_TRUE(sp.FindByExtension(found, ext));
    std::sort(found.begin(), found.end());
    return found;
  }
};

TEST_F(SearchPathTest, RecursiveAddIsDepthFirstAndReachesEveryFolder) {
  fs::create_directories(path("d/a/b"));
  fs::create_directories(path("d/c"));
  writeFile("d/a/b/x.txt", "");
  writeFile("d/c/y.txt", "");
  RecordingSearchPath sp;
  sp.Add(path("d").c_str(), true);
  const std::vector<std::string>& v = sp.visited;
  ASSERT_EQ(v.size(), 4u);
  EXPECT_EQ(v[0], path("d"));
  // Children in listing order, each child's sub-folders right after it.
  const auto a = std::find(v.begin(), v.end(), path("d/a"));
  ASSERT_NE(a, v.end());
  EXPECT_EQ(*(a + 1), path("d/a/b"));
  EXPECT_NE(std::find(v.begin(), v.end(), path("d/c")), v.end());
  EXPECT_EQ(Find(sp, ".txt"), (std::vector<std::string>{path("d/a/b/x.txt"), path("d/c/y.txt")}));
}

TEST_F(SearchPathTest, WhatAddLists) {
  writeFile("d/file.txt", "");
  struct Case {
    std::string given;
    bool listed;
  } cases[] = {
      {path("d"), true},              // a folder
      {path("d/file.txt"), true},     // a file adds its folder
      {path("d/missing"), true},      // a missing child of a folder adds the folder
      {path("nope/missing"), false},  // a missing parent adds nothing
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.given);
    KTSearchPath sp;
    sp.Add(c.given.c_str(), false);
    EXPECT_EQ(Find(sp, ".txt"),
              c.listed ? std::vector<std::string>{path("d/file.txt")} : std::vector<std::string>{});
  }
  KTSearchPath sp;
  sp.Add(nullptr, true);
  EXPECT_TRUE(Find(sp, ".txt").empty());
}

TEST_F(SearchPathTest, DuplicatesAppendAndExactExtension) {
  writeFile("d/x.txt", "");
  writeFile("d/y.TXT", "");
  writeFile("d/z.txt.bak", "");
  fs::create_directories(path("d/sub.txt"));
  KTSearchPath sp;
  sp.Add(path("d").c_str(), false);
  sp.Add(path("d").c_str(), false);
  std::vector<std::string> found{"kept"};
  EXPECT_TRUE(sp.FindByExtension(found, ".txt"));
  EXPECT_EQ(found, (std::vector<std::string>{"kept", path("d/x.txt"), path("d/x.txt")}));
  EXPECT_EQ(Find(sp, ".TXT"), (std::vector<std::string>{path("d/y.TXT"), path("d/y.TXT")}));
  EXPECT_TRUE(Find(sp, "txt").empty());  // the dot belongs to the extension
  EXPECT_TRUE(Find(sp, nullptr).empty());
  EXPECT_STREQ(sp.GetClsName(), "System.IO.SearchPath");
}

TEST_F(SearchPathTest, FilesRemovedBetweenAddAndFind) {
  for (const char* file : {"t/z.txt", "t/a/x.txt", "t/a/keep.txt", "t/b/y.txt"})
    writeFile(file, "");
  KTSearchPath sp;
  sp.Add(path("t").c_str(), false);
  sp.Add(path("t/a").c_str(), false);
  sp.Add(path("t/b/y.txt").c_str(), false);  // a file adds its folder
  fs::remove(path("t/a/x.txt"));
  fs::create_symlink(path("t/a/nowhere"), path("t/a/dangling.txt"));
  const std::vector<std::string> first = {path("t/a/dangling.txt"), path("t/a/keep.txt"),
                                          path("t/z.txt")};
  EXPECT_EQ(Find(sp, ".txt"),
            (std::vector<std::string>{first[0], first[1], path("t/b/y.txt"), first[2]}));

  // A listed folder that has gone: an error, and what came before stays.
  fs::remove_all(path("t/b"));
  const auto before = kttest::Snapshot(dir());
  std::vector<std::string> found;
  EXPECT_THROW(sp.FindByExtension(found, ".txt"), fs::filesystem_error);
  std::sort(found.begin(), found.end());
  EXPECT_EQ(found, first);
  EXPECT_EQ(kttest::Snapshot(dir()), before);
}

TEST_F(SearchPathTest, SymbolicLinkCyclesEndInAnError) {
  fs::create_directories(path("dircycle/a"));
  fs::create_symlink("..", path("dircycle/a/up"));  // a folder that contains itself
  fs::create_directories(path("selfcycle"));
  fs::create_symlink("self", path("selfcycle/self"));  // a link that resolves to itself
  const auto before = kttest::Snapshot(dir());
  // There is no cycle guard: the walk ends when the system refuses to
  // resolve the path any further.
  for (const char* tree : {"dircycle", "selfcycle"}) {
    SCOPED_TRACE(tree);
    KTSearchPath sp;
    EXPECT_THROW(sp.Add(path(tree).c_str(), true), fs::filesystem_error);
  }
  KTSearchPath flat;
  flat.Add(path("selfcycle").c_str(), false);
  std::vector<std::string> found;
  EXPECT_THROW(flat.FindByExtension(found, ".txt"), fs::filesystem_error);
  EXPECT_EQ(kttest::Snapshot(dir()), before);
}

}  // namespace
