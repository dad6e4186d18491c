// Package root and tool lookup of the system object.
#include <gtest/gtest.h>
#include <ktbase/ktbasesystem.h>

#include <boost/filesystem.hpp>
#include <memory>
#include <string>
#include <vector>

#include "test_support.h"

namespace {

// A system whose program path is `program`.
std::unique_ptr<ktbasesystem> System(std::string program) {
  char* argv[] = {program.data()};
  return std::make_unique<ktbasesystem>(false, 1, argv);
}

// Both lookups go through the interface, so overrides are honoured.
struct Relocated : ktbasesystem {
  Relocated() : ktbasesystem(false, 0, nullptr) {}
  void GetApplicationArguments(std::vector<std::string>& out) const override {
    out = {"/r/a/b/c/d/app"};
  }
  std::string GetPackageRoot() override { return ktbasesystem::GetPackageRoot() + "/x"; }
};

TEST(PackageRootTest, IsFourLevelsAboveTheProgramOrEmpty) {
  kttest::LogCapture log;
  EXPECT_EQ(Relocated().GetPackageRoot(), "/r/a/x");
  EXPECT_EQ(Relocated().GetToolPath("bin", "t"), "/r/a/x/bin/linux_intel.release/t");
  EXPECT_EQ(System("a/b/app")->GetPackageRoot(), "");  // fewer levels: nothing is left
  EXPECT_EQ(ktbasesystem(false, 0, nullptr).GetPackageRoot(), "");
  EXPECT_EQ(System("app")->GetToolPath("bin", "tool"), "bin/linux_intel.release/tool");
}

class ToolPathTest : public kttest::TempDirTest {};

TEST_F(ToolPathTest, MissingToolIsLoggedOncePerCallAndStillReturned) {
  writeFile("pkg/bin/linux_intel.release/tool", "");
  auto system = System(path("pkg/x/y/z/app"));
  const struct {
    const char* subDir;
    const char* tool;
    std::string expected;
    bool found;
  } cases[] = {{"bin", "tool", path("pkg/bin/linux_intel.release/tool"), true},
               {"bin", "missing", path("pkg/bin/linux_intel.release/missing"), false},
               {"", "tool", path("pkg/linux_intel.release/tool"), false},
               {"nodir", "tool", path("pkg/nodir/linux_intel.release/tool"), false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    kttest::LogCapture log;
    EXPECT_EQ(system->GetToolPath(c.subDir, c.tool), c.expected);
    ASSERT_EQ(log.records().size(), c.found ? 0u : 1u);
    if (c.found) continue;
    EXPECT_EQ(log.records()[0].level, 2);
    EXPECT_EQ(log.records()[0].text, "Cannot find: " + c.expected + "\n");
  }

  // A status query that fails otherwise (here ELOOP) throws, unlogged.
  boost::filesystem::create_symlink(path("pkg/loop"), path("pkg/loop"));
  kttest::LogCapture log;
  EXPECT_THROW(system->GetToolPath("loop", "tool"), boost::filesystem::filesystem_error);
  EXPECT_TRUE(log.records().empty());
}

}  // namespace
