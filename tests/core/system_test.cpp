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
    if (m_name == "self")  // asks for itself while being initialised
      Record(g_system->GetSingleton("self") == this ? "got self" : "got other");
  }
  void Term() override { Record("term " + m_name); }
};
// Shows that the debug service still works while the deletion list is run.
class DebugUser : public Destroyable {
  using Destroyable::Destroyable;

 public:
  ~DebugUser() override { g_system->Debug()->PrintDebugString("still here"); }
};
class Console : public qrn::diagnostics::IOutputConsole {
  void Write(const std::string& text, int, int, int) override { Record("console " + text); }
};

template <class T>
qrn::IBase* Make(const char* name) {
  ++g_factoryCalls;
  return new T(name);
}
qrn::IBase* MakeA() { return Make<Service>("a"); }
qrn::IBase* MakeB() { return Make<Service>("b"); }
qrn::IBase* MakeS2() { return Make<Service>("s2"); }
qrn::IBase* MakeSelf() { return Make<Service>("self"); }
qrn::IBase* MakeComponent() { return Make<Destroyable>("component"); }
qrn::IBase* MakeNull() {
  ++g_factoryCalls;
  return nullptr;
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
  m_system->RegisterSingleton("b", MakeB);
  m_system->RegisterSingleton("a", MakeA);
  m_system->RegisterSingleton("c", MakeComponent);  // no ISingleton: no Init, no Term
  for (const char* name : {"b", "c", "a"}) ASSERT_NE(m_system->GetSingleton(name), nullptr);
  Plain plain("plain");  // neither face: left alone
  m_system->RegisterObjectForDeletion(new Counted("counted"));
  m_system->RegisterObjectForDeletion(nullptr);
  m_system->RegisterObjectForDeletion(new Both("both"));
  m_system->RegisterObjectForDeletion(&plain);
  m_system->RegisterObjectForDeletion(new DebugUser("user"));
  EXPECT_EQ(g_events, (Events{"init b", "init a"}));
  g_events.clear();
  Shutdown();
  EXPECT_EQ(g_events,
            (Events{"term a", "term b", "dtor b", "dtor component", "dtor a", "release counted",
                    "dtor counted", "dtor both", "console still here\n", "dtor user"}));
  g_events.clear();
}

TEST_F(SystemTest, SingletonIsMadeOnceOnDemandAndInitSeesItself) {
  EXPECT_EQ(m_system->GetSingleton("a"), nullptr);  // unregistered: nothing made
  m_system->RegisterSingleton("a", MakeA);
  qrn::IBase* first = m_system->GetSingleton("a");
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(m_system->GetSingleton("a"), first);
  EXPECT_EQ(m_system->GetSingleton("A"), nullptr);
  m_system->RegisterSingleton("self", MakeSelf);
  m_system->GetSingleton("self");
  EXPECT_EQ(g_events, (Events{"init a", "init self", "got self"}));
  // A library object reaches its other face through the test's type info.
  EXPECT_STREQ(dynamic_cast<qrn::IBase*>(static_cast<qrn::ISystem*>(m_system))->GetClsName(),
               "Norvex.KTC.BaseSystem");
}

TEST_F(SystemTest, ReRegistrationTermsOldInstanceAndKeepsItForShutdown) {
  m_system->RegisterSingleton("s", MakeA);
  m_system->RegisterSingleton("s", MakeB);  // no instance yet: factory replaced
  qrn::IBase* old = m_system->GetSingleton("s");
  m_system->RegisterSingleton("s", MakeS2);
  EXPECT_NE(m_system->GetSingleton("s"), old);
  Shutdown();
  EXPECT_EQ(g_events, (Events{"init b", "term b", "init s2", "term s2", "dtor b", "dtor s2"}));
}

TEST_F(SystemTest, NullSingletonIsRememberedUntilRegisteredAnew) {
  m_system->RegisterSingleton("n", MakeNull);
  EXPECT_EQ(m_system->GetSingleton("n"), nullptr);
  EXPECT_EQ(m_system->GetSingleton("n"), nullptr);
  EXPECT_EQ(g_factoryCalls, 1);
  m_system->RegisterSingleton("n", nullptr);  // a null factory makes nothing
  EXPECT_EQ(m_system->GetSingleton("n"), nullptr);
  m_system->RegisterSingleton("n", MakeA);
  EXPECT_NE(m_system->GetSingleton("n"), nullptr);
}

TEST_F(SystemTest, ComponentsBelongToTheCaller) {
  m_system->RegisterComponent("c", MakeA);
  m_system->RegisterComponent("c", MakeComponent);
  std::unique_ptr<qrn::IBase> one(m_system->CreateComponent("c"));
  std::unique_ptr<qrn::IBase> two(m_system->CreateComponent("c"));
  ASSERT_NE(one, nullptr);
  EXPECT_NE(one, two);
  EXPECT_EQ(static_cast<Plain*>(one.get())->m_name, "component");
  EXPECT_EQ(m_system->CreateComponent("C"), nullptr);
  Shutdown();
  EXPECT_TRUE(g_events.empty());  // neither made through Init nor destroyed
}

TEST_F(SystemTest, NamedObjectsAreBorrowedAndNullNamesNeverFound) {
  Destroyable p("p"), q("q");
  EXPECT_EQ(m_system->GetNamedObject("n"), nullptr);
  m_system->SetNamedObject("n", &p);
  m_system->SetNamedObject("n", &q);
  EXPECT_EQ(m_system->GetNamedObject("n"), &q);
  EXPECT_EQ(m_system->GetNamedObject("N"), nullptr);
  m_system->RemoveNamedObject("n");
  m_system->RemoveNamedObject("unknown");
  EXPECT_EQ(m_system->GetNamedObject("n"), nullptr);
  m_system->SetNamedObject("kept", &p);

  m_system->RegisterSingleton(nullptr, MakeA);
  m_system->RegisterComponent(nullptr, MakeA);
  m_system->SetNamedObject(nullptr, &p);
  m_system->RemoveNamedObject(nullptr);
  EXPECT_EQ(m_system->GetSingleton(nullptr), nullptr);
  EXPECT_EQ(m_system->CreateComponent(nullptr), nullptr);
  EXPECT_EQ(m_system->GetNamedObject(nullptr), nullptr);
  Shutdown();
  EXPECT_TRUE(g_events.empty());
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

  char arg0[] = "/pkg/app", arg1[] = "-x", arg2[] = "";
  char* argv[] = {arg0, arg1, arg2};
  qrn::ISystem* system = qrnInitSystem(true, 3, argv);
  ASSERT_NE(system, nullptr);
  EXPECT_TRUE(qrnIsSystemInitialized());
  EXPECT_EQ(qrnInitSystem(false, 0, nullptr), system);
  EXPECT_EQ(qrnGetSystem(), system);
  EXPECT_TRUE(system->IsDCCPlugin());
  std::vector<std::string> args{"stale", "stale", "stale", "stale"};
  system->GetApplicationArguments(args);
  EXPECT_EQ(args, (std::vector<std::string>{"/pkg/app", "-x", ""}));
  EXPECT_EQ(system->Debug(), system->Debug());
  EXPECT_TRUE(qrnExitSystem());
  EXPECT_FALSE(qrnIsSystemInitialized());
  EXPECT_FALSE(qrnExitSystem());

  system = qrnInitSystem(false, 0, argv);  // a fresh system; argc 0: argv unread
  system->GetApplicationArguments(args);
  EXPECT_TRUE(args.empty());
  EXPECT_FALSE(system->IsDCCPlugin());
  EXPECT_TRUE(qrnExitSystem());
}

}  // namespace
