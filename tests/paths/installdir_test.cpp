// Installation directories of a copy of the library loaded from a chosen
// place. This program does not link the library: each test loads its own
// copy, and each test runs in its own process (a loaded copy stays loaded).
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

using DirFunc = std::string (*)();

struct Dirs {
  std::string bin, root, db;
};

class InstallDirTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (dlopen("libktbase.so", RTLD_LAZY | RTLD_NOLOAD) != nullptr) {
      GTEST_SKIP() << "a copy is already loaded; run each test in its own process";
    }
    const char* base = std::getenv("TMPDIR");
    std::string pattern =
        std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/ktbase-installdir-XXXXXX";
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    m_dir = fs::canonical(pattern);
  }
  void TearDown() override {
    if (!m_dir.empty()) {
      std::error_code ec;
      fs::current_path(m_previous.empty() ? fs::path("/") : m_previous, ec);
      fs::remove_all(m_dir, ec);
    }
  }
  // Copies the library and its logger into `folder` (below the temp folder).
  void Install(const fs::path& folder) {
    fs::create_directories(m_dir / folder);
    fs::copy_file(KTTEST_KTBASE, m_dir / folder / "libktbase.so");
    fs::copy_file(KTTEST_LOGMANAGER, m_dir / folder / "liblogmanager.so");
  }
  // Loads the copy by `name` and asks it for its directories.
  static Dirs Load(const std::string& name) {
    void* handle = dlopen(name.c_str(), RTLD_LAZY);
    EXPECT_NE(handle, nullptr) << dlerror();
    if (handle == nullptr) return {};
    auto call = [handle](const char* symbol) {
      auto func = reinterpret_cast<DirFunc>(dlsym(handle, symbol));
      EXPECT_NE(func, nullptr) << symbol;
      return func != nullptr ? func() : std::string("<missing>");
    };
    return {call("_Z11KTGetBinDirB5cxx11v"), call("_Z12KTGetRootDirB5cxx11v"),
            call("_Z10KTGetDBDirB5cxx11v")};
  }

  fs::path m_dir;
  fs::path m_previous;
};

TEST_F(InstallDirTest, AbsolutePath) {
  Install("x/y/z");
  const Dirs dirs = Load((m_dir / "x/y/z/libktbase.so").string());
  EXPECT_EQ(dirs.bin, (m_dir / "x/y/z").string());
  EXPECT_EQ(dirs.root, (m_dir / "x").string());
  EXPECT_EQ(dirs.db, (m_dir / "x/db").string());
}

TEST_F(InstallDirTest, ShortRelativePath) {
  Install("lib");
  m_previous = fs::current_path();
  fs::current_path(m_dir);
  const Dirs dirs = Load("lib/libktbase.so");
  EXPECT_EQ(dirs.bin, "lib");
  EXPECT_EQ(dirs.root, "");
  EXPECT_EQ(dirs.db, "db");
}

}  // namespace
