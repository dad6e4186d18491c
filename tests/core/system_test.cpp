// The system object: entry points, shutdown order, registries, named
// objects, startup factories.
#include <gtest/gtest.h>
#include <ktbase/idestroy.h>
#include <ktbase/irefcount.h>
#include <ktbase/isingleton.h>
#include <ktbase/ktbase.h>
#include <ktbase/ktbasesystem.h>
#include <ktbase/platform_linux.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using Events = std::vector<std::string>;
Events g_events;
qrn::ISystem* g_system = nullptr;  // the system under test, for callbacks
int g_factoryCalls = 0;
void Record(const std::string& event) { g_events.push_back(event); }

// Defined in the test executable, so every checked cast the library makes on
// these objects crosses the module boundary.
class Plain : public qrn::IBase {
 public:
  explicit Plain(std::string name) : m_name(std::move(name)) {}
  ~Plain() override { Record("dtor " + m_name); }
  const char* GetClsName() override { return "Test.Plain"; }
  std::string m_name;
};
class Destroyable : public Plain, public qrn::IDestroy {
  using Plain::Plain;
};
class Counted : public Plain, public qrn::IRefCount {
 public:
  using Plain::Plain;
  long AddRef() override { return 2; }
  long Release() override {
    Record("release " + m_name);
    delete this;
    return 0;
  }
};
class Both : public Counted, public qrn::IDestroy {
  using Counted::Counted;
};
class Service : public Plain, public qrn::ISingleton, public qrn::IDestroy {
 public:
  using Plain::Plain;
  void Init() override {
    Record("init " + m_name);
    if (m_name == "s")  // asks for itself while being initialised
      Record(g_system->GetSingleton("s") == this ? "got self" : "got other");
  }
  void Term() override { Record("term " + m_name); }
};
// Still uses the system while the deletion list is run.
class LateUser : public Destroyable {
  using Destroyable::Destroyable;

 public:
  ~LateUser() override {
    g_system->Debug()->PrintDebugString("still here");
    g_system->GetSingleton("a");
  }
};
class Console : public qrn::diagnostics::IOutputConsole {
  void Write(const std::string& text, int, int, int) override { Record("console " + text); }
};

// A factory of T named by one character; with 0 it makes nothing.
template <class T, char Name>
qrn::IBase* Make() {
  ++g_factoryCalls;
  if constexpr (Name == 0) return nullptr;
  return new T(std::string(1, Name));
}

class SystemTest : public ::testing::Test {
 protected:
  void SetUp() override {
    g_events.clear();
    g_factoryCalls = 0;
    g_system = m_system = new ktbasesystem(false, 0, nullptr);
  }
  void TearDown() override { Shutdown(); }
  void Shutdown() {
    delete m_system;
    m_system = nullptr;
  }
  ktbasesystem* m_system = nullptr;
};

TEST_F(SystemTest, ShutdownTermsByNameThenDestroysInRegistrationOrder) {
  Console console;
  m_system->Debug()->RegisterDebugOutputConsole(&console);
  m_system->RegisterSingleton("b", Make<Service, 'b'>);
  m_system->RegisterSingleton("a", Make<Service, 'a'>);
  m_system->RegisterSingleton("c", Make<Destroyable, 'c'>);  // no ISingleton: no Init, no Term
  for (const char* name : {"b", "c", "a"}) ASSERT_NE(m_system->GetSingleton(name), nullptr);
  Plain plain("plain");  // neither face: left alone
  m_system->RegisterObjectForDeletion(new Counted("counted"));
  m_system->RegisterObjectForDeletion(nullptr);
  m_system->RegisterObjectForDeletion(new Both("both"));
  m_system->RegisterObjectForDeletion(&plain);
  m_system->RegisterObjectForDeletion(new LateUser("user"));
  EXPECT_EQ(g_events, (Events{"init b", "init a"}));
  g_events.clear();
  Shutdown();
  // The instances are forgotten before the list runs: a singleton asked for
  // by a destructor is made anew (no Term) and destroyed in the same pass.
  EXPECT_EQ(g_events, (Events{"term a", "term b", "dtor b", "dtor c", "dtor a", "release counted",
                              "dtor counted", "dtor both", "console still here\n", "init a",
                              "dtor user", "dtor a"}));
}

TEST_F(SystemTest, SingletonIsMadeOnceOnDemandAndInitSeesItself) {
  EXPECT_EQ(m_system->GetSingleton("a"), nullptr);  // unregistered: nothing made
  m_system->RegisterSingleton("a", Make<Service, 'a'>);
  qrn::IBase* first = m_system->GetSingleton("a");
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(m_system->GetSingleton("a"), first);
  EXPECT_EQ(m_system->GetSingleton("A"), nullptr);
  m_system->RegisterSingleton("s", Make<Service, 's'>);
  m_system->GetSingleton("s");
  EXPECT_EQ(g_events, (Events{"init a", "init s", "got self"}));
  // A library object reaches its other face through the test's type info.
  EXPECT_STREQ(dynamic_cast<qrn::IBase*>(static_cast<qrn::ISystem*>(m_system))->GetClsName(),
               "Norvex.KTC.BaseSystem");
}

TEST_F(SystemTest, RegisteringAnewTermsTheInstanceAndKeepsItForShutdown) {
  m_system->RegisterSingleton("s", Make<Service, 'a'>);
  m_system->RegisterSingleton("s", Make<Service, 'b'>);  // no instance yet: factory replaced
  qrn::IBase* old = m_system->GetSingleton("s");
  m_system->RegisterSingleton("s", Make<Service, '2'>);
  EXPECT_NE(m_system->GetSingleton("s"), old);
  // A null result is remembered (the factory runs once) until registered anew.
  m_system->RegisterSingleton("n", Make<Plain, 0>);
  EXPECT_EQ(m_system->GetSingleton("n"), nullptr);
  EXPECT_EQ(m_system->GetSingleton("n"), nullptr);
  EXPECT_EQ(g_factoryCalls, 3);
  m_system->RegisterSingleton("n", nullptr);  // a null factory makes nothing
  EXPECT_EQ(m_system->GetSingleton("n"), nullptr);
  m_system->RegisterSingleton("n", Make<Service, 'n'>);
  EXPECT_NE(m_system->GetSingleton("n"), nullptr);
  Shutdown();
  EXPECT_EQ(g_events, (Events{"init b", "term b", "init 2", "init n", "term n", "term 2", "dtor b",
                              "dtor 2", "dtor n"}));
}

TEST_F(SystemTest, ComponentsBelongToTheCaller) {
  m_system->RegisterComponent("c", Make<Destroyable, 'x'>);
  m_system->RegisterComponent("c", Make<Service, 'c'>);
  std::unique_ptr<qrn::IBase> one(m_system->CreateComponent("c"));
  std::unique_ptr<qrn::IBase> two(m_system->CreateComponent("c"));
  ASSERT_NE(one, nullptr);
  EXPECT_NE(one, two);
  EXPECT_EQ(static_cast<Plain*>(one.get())->m_name, "c");
  EXPECT_EQ(m_system->CreateComponent("C"), nullptr);
  Shutdown();
  EXPECT_TRUE(g_events.empty());  // no Init, not destroyed by the system
}

void First() { Record("first"); }
void Second() {
  Record("second");
  g_system->RegisterStartupFactory(First);  // runs in the same pass
}
void Third() { Record("third"); }

TEST_F(SystemTest, StartupFactoriesRunOnceInOrderOnRequestOnly) {
  m_system->RegisterStartupFactory(Third);
  m_system->RegisterStartupFactory(nullptr);
  m_system->RegisterStartupFactory(Second);
  m_system->RunStartupFactories();
  EXPECT_EQ(g_events, (Events{"third", "second", "first"}));
  m_system->RunStartupFactories();
  m_system->RegisterStartupFactory(Third);
  m_system->RunStartupFactories();
  EXPECT_EQ(g_events, (Events{"third", "second", "first", "third"}));
  m_system->RegisterStartupFactory(First);  // never run: not called at shutdown
  Shutdown();
  EXPECT_EQ(g_events.size(), 4u);
}

TEST(EntryPointsTest, LifecycleAndMissingSystem) {
  ASSERT_FALSE(qrnIsSystemInitialized());
  EXPECT_EQ(qrnGetSystem(), nullptr);
  EXPECT_STREQ(ktGetAssertReport(),
               "Error: ( Base system is not initialized. Call qrnInitSystem first. )\n"
               "FAILED: qrnGetSystem\n\nFile 'framework/src/ktbase/ktbase', Line 29\n\n\n"
               "Abort execution, allow assert Retry, or Ignore in future?");

  char arg0[] = "/pkg/app", arg1[] = "";
  char* argv[] = {arg0, arg1};
  qrn::ISystem* system = qrnInitSystem(true, 2, argv);
  ASSERT_NE(system, nullptr);
  EXPECT_EQ(qrnInitSystem(false, 0, nullptr), system);  // the live one wins
  EXPECT_TRUE(system->IsDCCPlugin());
  std::vector<std::string> args{"stale", "stale", "stale"};
  system->GetApplicationArguments(args);
  EXPECT_EQ(args, (std::vector<std::string>{"/pkg/app", ""}));
  EXPECT_TRUE(qrnExitSystem());
  EXPECT_FALSE(qrnIsSystemInitialized());
  EXPECT_FALSE(qrnExitSystem());
}

}  // namespace
