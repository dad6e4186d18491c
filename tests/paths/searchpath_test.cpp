#include <gtest/gtest.h>
#include <ktbase/ktsearchpath.h>

#include <algorithm>
#include <boost/filesystem.hpp>

#include "test_support.h"

namespace fs = boost::filesystem;

namespace {

using Paths = std::vector<std::string>;

// Records the folders Add() visits, in order, through the virtual operation.
class RecordingSearchPath : public KTSearchPath {
 public:
  void Add(const char* path, bool recursive) override {
    if (path != nullptr) visited.emplace_back(path);
    KTSearchPath::Add(path, recursive);
  }
  Paths visited;
};

using SearchPathTest = kttest::TempDirTest;

// The matches, sorted: the listing order is the file system's.
Paths Find(KTSearchPath& sp, const char* ext) {
  Paths found;
  EXPECT_TRUE(sp.FindByExtension(found, ext));
  std::sort(found.begin(), found.end());
  return found;
}

TEST_F(SearchPathTest, RecursiveAddIsDepthFirstAndReachesEveryFolder) {
  writeFile("d/a/b/x.txt", "");
  writeFile("d/c/y.txt", "");
  RecordingSearchPath sp;
  sp.Add(path("d").c_str(), true);
  const Paths& v = sp.visited;
  ASSERT_EQ(v.size(), 4u);
  EXPECT_EQ(v[0], path("d"));
  // Children in listing order, each child's sub-folders right after it.
  const auto a = std::find(v.begin(), v.end(), path("d/a"));
  ASSERT_LT(a - v.begin(), 3);
  EXPECT_EQ(*(a + 1), path("d/a/b"));
  EXPECT_EQ(Find(sp, ".txt"), (Paths{path("d/a/b/x.txt"), path("d/c/y.txt")}));
}

TEST_F(SearchPathTest, WhatAddLists) {
  writeFile("d/file.txt", "");
  const struct {
    std::string given;
    bool listed;
  } cases[] = {
      {path("d"), true},              // a folder
      {path("d/file.txt"), true},     // a file adds its folder
      {path("d/missing"), true},      // a missing child of a folder adds the folder
      {path("nope/missing"), false},  // a missing parent adds nothing
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.given);
    KTSearchPath sp;
    sp.Add(c.given.c_str(), false);
    EXPECT_EQ(Find(sp, ".txt"), c.listed ? Paths{path("d/file.txt")} : Paths{});
  }
  KTSearchPath sp;
  sp.Add(nullptr, true);
  EXPECT_TRUE(Find(sp, ".txt").empty());
}

TEST_F(SearchPathTest, FindAppendsExactExtensionOncePerListing) {
  writeFile("d/x.txt", "");
  writeFile("d/y.TXT", "");
  writeFile("d/z.txt.bak", "");
  fs::create_directories(path("d/sub.txt"));
  fs::create_symlink(path("d/nowhere"), path("d/dangling.txt"));
  KTSearchPath sp;
  sp.Add(path("d").c_str(), false);
  sp.Add(path("d").c_str(), false);
  Paths found{"kept"};
  EXPECT_TRUE(sp.FindByExtension(found, ".txt"));
  std::sort(found.begin(), found.end());
  const std::string x = path("d/x.txt"), dangling = path("d/dangling.txt");
  EXPECT_EQ(found, (Paths{dangling, dangling, x, x, "kept"}));
  EXPECT_EQ(Find(sp, ".TXT"), (Paths{path("d/y.TXT"), path("d/y.TXT")}));
  EXPECT_TRUE(Find(sp, "txt").empty());  // the dot belongs to the extension
  EXPECT_TRUE(Find(sp, nullptr).empty());
}

TEST_F(SearchPathTest, VanishedFoldersAndLinkLoopsThrow) {
  writeFile("t/a/x.txt", "");
  writeFile("t/b/y.txt", "");
  KTSearchPath sp;
  sp.Add(path("t/a").c_str(), false);
  sp.Add(path("t/b").c_str(), false);
  fs::remove_all(path("t/b"));
  // What came before the failing folder stays.
  Paths found;
  EXPECT_THROW(sp.FindByExtension(found, ".txt"), fs::filesystem_error);
  EXPECT_EQ(found, Paths{path("t/a/x.txt")});

  fs::create_directories(path("dircycle/a"));
  fs::create_symlink("..", path("dircycle/a/up"));  // a folder that contains itself
  fs::create_directories(path("selfcycle"));
  fs::create_symlink("self", path("selfcycle/self"));  // a link that resolves to itself
  // There is no cycle guard: the walk ends when the system refuses to
  // resolve the path any further.
  for (const char* tree : {"dircycle", "selfcycle"}) {
    SCOPED_TRACE(tree);
    KTSearchPath loop;
    EXPECT_THROW(loop.Add(path(tree).c_str(), true), fs::filesystem_error);
  }
  KTSearchPath flat;
  flat.Add(path("selfcycle").c_str(), false);
  EXPECT_THROW(flat.FindByExtension(found, ".txt"), fs::filesystem_error);
}

}  // namespace
