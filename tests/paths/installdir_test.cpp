// Installation directories: of this build tree, and of copies of the library
// loaded from places the test chooses, plain, relative and through links.
// Each copy is loaded by a separate probe process, the only copy in it.
#include <gtest/gtest.h>
#include <ktbase/ktpaths.h>

#include <boost/filesystem.hpp>
#include <cstdio>
#include <string>

#include "test_support.h"

namespace fs = boost::filesystem;

namespace {

TEST(InstallDirsTest, BuildTreeLayoutAndUnanchoredLookup) {
  const fs::path lib(KTTEST_KTBASE);
  const fs::path root = lib.parent_path().parent_path().parent_path();
  EXPECT_EQ(KTGetDynamicLibraryPath("ktbase."), lib.string());  // fragment, anywhere
  EXPECT_EQ(KTGetDynamicLibraryPath("no-such-object-anywhere"), "");
  EXPECT_EQ(KTGetDynamicLibraryPath(""), "");  // the main program's empty name
  EXPECT_EQ(KTGetBinDir(), lib.parent_path().string());
  EXPECT_EQ(KTGetRootDir(), root.string());
  EXPECT_EQ(KTGetDBDir(), (root / "db").string());
}

class InstallDirsCopyTest : public kttest::TempDirTest {
 protected:
  // The probe, run in the test folder, loads `library` and prints the
  // directories the copy derives from where the loader says it is.
  std::string Probe(const std::string& library) {
    const std::string command =
        "cd '" + dir() + "' && '" KTTEST_PROBE "' '" KTTEST_LOGMANAGER "' '" + library + "' 2>&1";
    std::string out;
    if (FILE* pipe = popen(command.c_str(), "r")) {
      char buffer[512];
      while (fgets(buffer, sizeof buffer, pipe) != nullptr) out += buffer;
      EXPECT_EQ(pclose(pipe), 0) << out;
    }
    return out;
  }
};

TEST_F(InstallDirsCopyTest, RootIsTwoFoldersAboveTheFileTheLoaderNamed) {
  const std::string d = dir(), realBin = path("real/bin/linux_intel.release");
  for (const std::string& folder : {realBin, path("lib")}) {
    fs::create_directories(folder);
    fs::copy_file(KTTEST_KTBASE, folder + "/libktbase.so");
  }
  fs::create_directories(path("links/lib"));
  fs::create_symlink(realBin + "/libktbase.so", path("links/lib/libktbase.so"));
  fs::create_symlink(realBin + "/libktbase.so", path("links/lib/libother.so"));
  const auto before = kttest::Snapshot(d);

  // The loader records the path as it was given, links unresolved; a file
  // that is not named "libktbase.so" is not recognised at all.
  const struct {
    std::string loaded, bin, root, db;
  } cases[] = {
      {realBin + "/libktbase.so", realBin, d + "/real", d + "/real/db"},
      {"lib/libktbase.so", "lib", "", "db"},  // relative: the root is ""
      {path("links/lib/libktbase.so"), d + "/links/lib", d, d + "/db"},
      {path("links/lib/libother.so"), "", "", "db"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.loaded);
    EXPECT_EQ(Probe(c.loaded), "bin=" + c.bin + "\nroot=" + c.root + "\ndb=" + c.db + "\n");
  }
  EXPECT_EQ(kttest::Snapshot(d), before);
}

}  // namespace
