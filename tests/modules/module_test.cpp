#include <dlfcn.h>
#include <gtest/gtest.h>
#include <ktbase/ibase.h>
#include <ktbase/idestroy.h>
#include <ktbase/isingleton.h>
#include <ktbase/ktpaths.h>
#include <ktbase/moduleutils.h>

#include <cstdlib>
#include <memory>

#include "test_support.h"

namespace {

bool Loaded(const char* module) { return dlopen(module, RTLD_LAZY | RTLD_NOLOAD) != nullptr; }

// Each test runs in its own process (see CMakeLists), so "already loaded"
// and "not loaded" do not leak between them. This one runs twice: once with
// the module's folder on the library path and once without.
TEST(ModuleUtilsTest, ZepPlatformFoundByTheLoaderSearchOnly) {
  ASSERT_FALSE(Loaded(KTTEST_ZEP));
  const bool onPath = std::getenv("KTTEST_ZEP_ON_PATH") != nullptr;
  EXPECT_EQ(GetExecutableFileName(), onPath ? KTTEST_ZEP : "");
  EXPECT_FALSE(Loaded(KTTEST_ZEP));  // not kept open
}

TEST(ModuleUtilsTest, ZepPlatformAlreadyLoadedIsFoundAndNotKeptOpen) {
  void* mine = dlopen(KTTEST_ZEP, RTLD_LAZY);
  ASSERT_NE(mine, nullptr);
  EXPECT_EQ(ModuleUtils::GetZepPlatformModulePath(), KTTEST_ZEP);
  ASSERT_EQ(dlclose(mine), 0);
  // The lookup gave back its reference: our close unloaded it.
  EXPECT_FALSE(Loaded(KTTEST_ZEP));
}

TEST(ModuleUtilsTest, LoadIsLazyAndLocalWhateverTheFlag) {
  // Only function references are bound lazily: a module that calls an
  // undefined function loads; one that reads undefined data does not, nor
  // one whose dependency the loader cannot find. A failure leaves its reason.
  const struct {
    const char* module;
    bool loads;
  } cases[] = {{KTTEST_OWNER, true},           {KTTEST_LAZY, true},
               {"/nonexistent/lib.so", false}, {__FILE__, false},
               {KTTEST_UNDEFINED_DATA, false}, {KTTEST_NEEDS_DEP, false}};
  for (const auto& c : cases) {
    for (bool flag : {true, false}) {
      SCOPED_TRACE(std::string(c.module) + (flag ? " true" : " false"));
      dlerror();
      void* handle = ModuleUtils::LoadModule(c.module, flag);
      ASSERT_EQ(handle != nullptr, c.loads);
      if (handle == nullptr) {
        EXPECT_NE(dlerror(), nullptr);
        continue;
      }
      EXPECT_EQ(dlsym(RTLD_DEFAULT, "kttest_owner_symbol"), nullptr);  // local only
      EXPECT_EQ(ModuleUtils::UnloadModule(handle), 0);
      EXPECT_FALSE(Loaded(c.module));
    }
  }
}

// A host that calls dlclose on a plug-in must not unmap it: what it
// registered with the system still points into its code.
TEST(ModuleUtilsTest, PluginCodeStaysMappedAfterUnload) {
  void* handle = ModuleUtils::LoadModule(KTTEST_RESIDENT, false);
  ASSERT_NE(handle, nullptr);
  auto defined =
      reinterpret_cast<int (*)()>(ModuleUtils::GetLibraryFunc(handle, "ktfault_defined"));
  ASSERT_NE(defined, nullptr);
  EXPECT_EQ(ModuleUtils::UnloadModule(handle), 0);
  EXPECT_TRUE(Loaded(KTTEST_RESIDENT));
  EXPECT_EQ(defined(), 42);  // its code is still there
}

TEST(ModuleUtilsTest, LibraryFuncOnlyFromTheModuleItself) {
  void* handle = ModuleUtils::LoadModule(KTTEST_OWNER, false);
  ASSERT_NE(handle, nullptr);
  void* owned = ModuleUtils::GetLibraryFunc(handle, "kttest_owner_symbol");
  EXPECT_NE(owned, nullptr);
  EXPECT_EQ(owned, dlsym(handle, "kttest_owner_symbol"));
  // Defined by the dependency: dlsym finds it, GetLibraryFunc refuses it.
  EXPECT_NE(dlsym(handle, "kttest_dep_symbol"), nullptr);
  EXPECT_EQ(ModuleUtils::GetLibraryFunc(handle, "kttest_dep_symbol"), nullptr);
  EXPECT_EQ(ModuleUtils::GetLibraryFunc(handle, "kttest_no_such_symbol"), nullptr);
  // An object made in the module is seen through the framework's interfaces.
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
  EXPECT_FALSE(Loaded(KTTEST_OWNER));  // the lookups kept no reference

  void* self = ModuleUtils::GetEntryExecutableHandle();
  ASSERT_NE(self, nullptr);
  EXPECT_NE(dlsym(self, "DummyPluginManagerLibraryFunction"), nullptr);
  EXPECT_EQ(ModuleUtils::GetLibraryFunc(self, "DummyPluginManagerLibraryFunction"), nullptr);
  DummyPluginManagerLibraryFunction();
}

TEST(ModuleUtilsTest, TempPathFromEnvironment) {
  // Unset gives "/tmp/"; a set value comes back exactly as it stands.
  const std::optional<std::string> values[] = {std::nullopt, "", "/var/tmp", "/var/tmp/",
                                               "relative"};
  for (const auto& value : values) {
    SCOPED_TRACE(value.value_or("(unset)"));
    kttest::ScopedEnv env("TMPDIR", value);
    EXPECT_EQ(ModuleUtils::GetTempPath(), value.value_or("/tmp/"));
  }
}

}  // namespace
