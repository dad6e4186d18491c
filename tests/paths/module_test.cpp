#include <dlfcn.h>
#include <gtest/gtest.h>
#include <ktbase/ibase.h>
#include <ktbase/idestroy.h>
#include <ktbase/isingleton.h>
#include <ktbase/ktpaths.h>
#include <ktbase/moduleutils.h>

#include <boost/filesystem.hpp>
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
}

using ModuleFileTest = kttest::TempDirTest;

TEST_F(ModuleFileTest, ModulesThatFailToLoadLeaveTheReasonToTheCaller) {
  writeFile("empty.so", "");
  writeFile("text.so", "this is not a shared object\n");
  writeFile("truncated.so", readFile(KTTEST_LAZY).value().substr(0, 64));
  boost::filesystem::create_directories(path("folder.so"));
  const auto before = kttest::Snapshot(dir());
  for (const std::string& module :
       {path("missing.so"), path("empty.so"), path("text.so"), path("truncated.so"),
        path("folder.so"), std::string(KTTEST_UNDEFINED_DATA), std::string(KTTEST_NEEDS_DEP)}) {
    SCOPED_TRACE(module);
    for (bool flag : {false, true}) {
      dlerror();
      EXPECT_EQ(ModuleUtils::LoadModule(module.c_str(), flag), nullptr);
      EXPECT_NE(dlerror(), nullptr);
    }
  }
  // Only function references are bound lazily: a module that calls an
  // undefined function loads, and what it defines is usable.
  void* lazy = ModuleUtils::LoadModule(KTTEST_LAZY, false);
  ASSERT_NE(lazy, nullptr) << dlerror();
  auto defined = reinterpret_cast<int (*)()>(ModuleUtils::GetLibraryFunc(lazy, "ktfault_defined"));
  ASSERT_NE(defined, nullptr);
  EXPECT_EQ(defined(), 42);
  EXPECT_EQ(ModuleUtils::GetLibraryFunc(lazy, "ktfault_nowhere"), nullptr);
  EXPECT_EQ(ModuleUtils::UnloadModule(lazy), 0);
  EXPECT_EQ(kttest::Snapshot(dir()), before);
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

}  // namespace
