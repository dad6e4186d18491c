#include <dlfcn.h>
#include <gtest/gtest.h>
#include <ktbase/ibase.h>
#include <ktbase/idestroy.h>
#include <ktbase/isingleton.h>
#include <ktbase/ktpaths.h>
#include <ktbase/moduleutils.h>

#include <boost/filesystem/path.hpp>
#include <cstdlib>
#include <memory>

#include "test_support.h"

namespace {

// Each test runs in its own process (see CMakeLists), so "already loaded"
// and "not loaded" do not leak between them.
TEST(ModuleUtilsTest, ZepPlatformAbsentGivesEmpty) {
  if (std::getenv("KTTEST_ZEP_ON_PATH") != nullptr) GTEST_SKIP() << "module is on the path";
  ASSERT_EQ(dlopen(KTTEST_ZEP, RTLD_LAZY | RTLD_NOLOAD), nullptr);
  EXPECT_EQ(ModuleUtils::GetZepPlatformModulePath(), "");
  EXPECT_EQ(GetExecutableFileName(), "");
}

TEST(ModuleUtilsTest, ZepPlatformAlreadyLoadedIsFoundAndNotKeptOpen) {
  void* mine = dlopen(KTTEST_ZEP, RTLD_LAZY);
  ASSERT_NE(mine, nullptr);
  EXPECT_EQ(ModuleUtils::GetZepPlatformModulePath(), KTTEST_ZEP);
  EXPECT_EQ(GetExecutableFileName(), KTTEST_ZEP);
  ASSERT_EQ(dlclose(mine), 0);
  // The lookups gave back their references: our close unloaded it.
  EXPECT_EQ(dlopen(KTTEST_ZEP, RTLD_LAZY | RTLD_NOLOAD), nullptr);
}

TEST(ModuleUtilsTest, ZepPlatformOnLibraryPath) {
  if (std::getenv("KTTEST_ZEP_ON_PATH") == nullptr) GTEST_SKIP() << "needs LD_LIBRARY_PATH";
  EXPECT_EQ(GetExecutableFileName(), KTTEST_ZEP);
}

TEST(ModuleUtilsTest, LoadIgnoresFlagAndNeverLoadsGlobally) {
  for (bool flag : {true, false}) {
    SCOPED_TRACE(flag);
    void* handle = ModuleUtils::LoadModule(KTTEST_OWNER, flag);
    ASSERT_NE(handle, nullptr);
    EXPECT_NE(dlsym(handle, "kttest_owner_symbol"), nullptr);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "kttest_owner_symbol"), nullptr);  // local only
    EXPECT_EQ(ModuleUtils::UnloadModule(handle), 0);
    EXPECT_EQ(dlopen(KTTEST_OWNER, RTLD_LAZY | RTLD_NOLOAD), nullptr);
  }
  EXPECT_EQ(ModuleUtils::LoadModule("/nonexistent/libnothing.so", true), nullptr);
  EXPECT_EQ(ModuleUtils::LoadModule(KTTEST_KTBASE ".missing", false), nullptr);
}

TEST(ModuleUtilsTest, LibraryFuncOnlyFromTheModuleItself) {
  void* handle = ModuleUtils::LoadModule(KTTEST_OWNER, false);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(ModuleUtils::GetLibraryFunc(handle, "kttest_owner_symbol"),
            dlsym(handle, "kttest_owner_symbol"));
  EXPECT_NE(ModuleUtils::GetLibraryFunc(handle, "kttest_owner_symbol"), nullptr);
  // Defined by the dependency: dlsym finds it, GetLibraryFunc refuses it.
  EXPECT_NE(dlsym(handle, "kttest_dep_symbol"), nullptr);
  EXPECT_EQ(ModuleUtils::GetLibraryFunc(handle, "kttest_dep_symbol"), nullptr);
  EXPECT_EQ(ModuleUtils::GetLibraryFunc(handle, "kttest_no_such_symbol"), nullptr);
  EXPECT_EQ(ModuleUtils::UnloadModule(handle), 0);

  void* self = ModuleUtils::GetEntryExecutableHandle();
  ASSERT_NE(self, nullptr);
  EXPECT_NE(dlsym(self, "DummyPluginManagerLibraryFunction"), nullptr);
  EXPECT_EQ(ModuleUtils::GetLibraryFunc(self, "DummyPluginManagerLibraryFunction"), nullptr);
  DummyPluginManagerLibraryFunction();
}

TEST(ModuleUtilsTest, ObjectFromModuleCastsAcrossTheBoundary) {
  void* handle = ModuleUtils::LoadModule(KTTEST_OWNER, false);
  ASSERT_NE(handle, nullptr);
  using Factory = qrn::IBase* (*)();
  auto create =
      reinterpret_cast<Factory>(ModuleUtils::GetLibraryFunc(handle, "kttest_create_service"));
  ASSERT_NE(create, nullptr);
  {
    std::unique_ptr<qrn::IBase> object(create());
    EXPECT_STREQ(object->GetClsName(), "Test.Service");
    EXPECT_NE(dynamic_cast<qrn::ISingleton*>(object.get()), nullptr);
    EXPECT_EQ(dynamic_cast<qrn::IDestroy*>(object.get()), nullptr);
  }
  EXPECT_EQ(ModuleUtils::UnloadModule(handle), 0);
}

TEST(ModuleUtilsTest, TempPathFromEnvironment) {
  {
    kttest::ScopedEnv env("TMPDIR", std::nullopt);
    EXPECT_EQ(ModuleUtils::GetTempPath(), "/tmp/");
  }
  for (const char* value : {"", "/var/tmp", "/var/tmp/", "relative"}) {
    SCOPED_TRACE(value);
    kttest::ScopedEnv env("TMPDIR", std::string(value));
    EXPECT_EQ(ModuleUtils::GetTempPath(), value);
  }
}

TEST(InstallDirsTest, BuildTreeLayoutAndUnanchoredLookup) {
  const boost::filesystem::path lib(KTTEST_KTBASE);
  EXPECT_EQ(KTGetDynamicLibraryPath("libktbase.so"), lib.string());
  EXPECT_EQ(KTGetDynamicLibraryPath("ktbase."), lib.string());  // fragment, anywhere
  EXPECT_EQ(KTGetDynamicLibraryPath("no-such-object-anywhere"), "");
  EXPECT_EQ(KTGetDynamicLibraryPath(""), "");  // the main program's empty name
  EXPECT_EQ(KTGetBinDir(), lib.parent_path().string());
  EXPECT_EQ(KTGetRootDir(), lib.parent_path().parent_path().parent_path().string());
  EXPECT_EQ(KTGetDBDir(), (lib.parent_path().parent_path().parent_path() / "db").string());
}

}  // namespace
