// Drives libktbase.so through independently written declarations: a wrong
// mangled name fails the link, a wrong slot or layout fails an assertion.
#include <gtest/gtest.h>

#include <boost/signals2/signal.hpp>
#include <string>
#include <vector>

#include "contract_decls.h"
#include "test_support.h"

namespace {

std::vector<std::string> g_events;

class Service : public qrn::IBase, public qrn::ISingleton, public qrn::IDestroy {
 public:
  explicit Service(const char* name) : m_name(name) {}
  ~Service() override { g_events.push_back(std::string("delete ") + m_name); }
  const char* GetClsName() override { return m_name; }
  void Init() override { g_events.push_back(std::string("init ") + m_name); }
  void Term() override { g_events.push_back(std::string("term ") + m_name); }

 private:
  const char* m_name;
};

class Counted : public qrn::IBase, public qrn::IRefCount {
 public:
  const char* GetClsName() override { return "Counted"; }
  long AddRef() override { return 1; }
  long Release() override {
    g_events.push_back("release");
    delete this;
    return 0;
  }
};

qrn::IBase* MakeB() { return new Service("b"); }
qrn::IBase* MakeA() { return new Service("a"); }

struct Console : qrn::diagnostics::IOutputConsole {
  void Write(const std::string& text, int a, int b, int c) override {
    lines.push_back(text + "|" + std::to_string(a) + std::to_string(b) + std::to_string(c));
  }
  std::vector<std::string> lines;
};

TEST(Contract, SystemSlotsAndShutdownOrder) {
  char arg0[] = "/opt/pkg/a/b/c/app";
  char* argv[] = {arg0};
  ASSERT_FALSE(qrnIsSystemInitialized());
  qrn::ISystem* sys = qrnInitSystem(true, 1, argv);
  ASSERT_NE(sys, nullptr);
  EXPECT_EQ(qrnGetSystem(), sys);
  EXPECT_TRUE(sys->IsDCCPlugin());
  EXPECT_EQ(sys->GetPackageRoot(), "/opt/pkg");
  std::vector<std::string> args{"old"};
  sys->GetApplicationArguments(args);
  EXPECT_EQ(args, std::vector<std::string>{arg0});

  sys->RegisterSingleton("b", &MakeB);
  sys->RegisterSingleton("a", &MakeA);
  qrn::IBase* b = sys->GetSingleton("b");
  qrn::IBase* a = sys->GetSingleton("a");
  ASSERT_NE(a, nullptr);
  EXPECT_STREQ(a->GetClsName(), "a");
  EXPECT_EQ(sys->GetSingleton("b"), b);
  sys->RegisterObjectForDeletion(new Counted);
  sys->SetNamedObject("n", a);
  EXPECT_EQ(sys->GetNamedObject("n"), a);
  sys->RemoveNamedObject("n");
  EXPECT_EQ(sys->GetNamedObject("n"), nullptr);
  sys->RegisterComponent("c", &MakeA);
  qrn::IBase* c = sys->CreateComponent("c");
  ASSERT_NE(c, nullptr);
  delete dynamic_cast<qrn::IDestroy*>(c);
  static int runs = 0;
  sys->RegisterStartupFactory([] { ++runs; });
  sys->RunStartupFactories();
  sys->RunStartupFactories();
  EXPECT_EQ(runs, 1);

  Console console;
  sys->Debug()->RegisterDebugOutputConsole(&console);
  sys->Debug()->PrintDebugString("hi");
  EXPECT_EQ(console.lines, std::vector<std::string>{"hi\n|003"});
  EXPECT_FALSE(sys->Debug()->Assert(false, "x", "m", nullptr, "f", 1, false));
  sys->Debug()->RegisterDebugOutputConsole(nullptr);

  g_events.clear();
  EXPECT_TRUE(qrnExitSystem());
  EXPECT_EQ(g_events,
            (std::vector<std::string>{"term a", "term b", "delete b", "delete a", "release"}));
}

// TMPDIR points into the fixture's folder, where the manager makes its own.
using ContractPrefs = kttest::TempDirTest;

TEST_F(ContractPrefs, PrefManagerSlots) {
  const std::string user = path("u.prefs");
  IKTPrefManager* prefs = IKTPrefManager::Create();
  ASSERT_NE(prefs, nullptr);
  EXPECT_STREQ(prefs->GetClsName(), "PrefManager");
  prefs->Configure(user, IKTPrefManager::ePrefUser);
  prefs->SetPref("b", 2, IKTPrefManager::ePrefUser);
  prefs->SetPref("a", std::string("x y"), IKTPrefManager::ePrefUser);
  prefs->SetPref("f", 0.5f, IKTPrefManager::ePrefSite);
  prefs->SetPref("on", true, IKTPrefManager::ePrefProject);
  prefs->SetPref("l", std::vector<std::string>{"p", "q"}, ';', IKTPrefManager::ePrefUser);
  int i = 0;
  EXPECT_EQ(prefs->GetPref("b", 7, i, false), 2);
  float f = 0;
  EXPECT_EQ(prefs->GetPref("f", 1.0f, f, true), 0.5f);
  bool on = false;
  EXPECT_TRUE(prefs->GetPref("on", false, on, false));
  EXPECT_TRUE(prefs->IsPref("on", false, false));
  std::string s;
  EXPECT_EQ(prefs->GetPref("a", "dflt", s, false), "x y");
  std::vector<std::string> list;
  EXPECT_EQ(prefs->GetPref("l", ';', {}, list, false).size(), 2u);
  unsigned long len = 99;
  prefs->GetPref("a", nullptr, len);
  EXPECT_EQ(len, 3u);
  prefs->RemovePref("l");
  EXPECT_EQ(prefs->GetPref("l", std::string("d"), s, false), "");
  EXPECT_FALSE(prefs->SaveToDisk(IKTPrefManager::ePrefUser));  // a complete write
  EXPECT_FALSE(prefs->LoadFromDisk(IKTPrefManager::ePrefAll));
  prefs->Init();
  prefs->Term();
  prefs->Writable(false);
  delete prefs;
  EXPECT_EQ(readFile(user), "a=x y\nb=2\nl=\n");
}

TEST(Contract, ValueClassesAndFreeFunctions) {
  char text[37];
  KtUID(0x12345678u, 0x9ABC, 0xDEF0, 1, 2, 3, 4, 5, 6, 7, 8).GetStr(text);
  EXPECT_STREQ(text, "12345678-9ABC-DEF0-0102-030405060708");
  KtUID("12345678-9abc-def0-0102-030405060708", true).GetStr(text);
  EXPECT_STREQ(text, "12345678-9ABC-DEF0-0102-030405060708");
  EXPECT_FALSE(KtUID::IsUID("12345678-9abc-def0-0102-03040506070"));
  EXPECT_STREQ(KtUID::GetNullUIDStr(), "00000000-0000-0000-0000-000000000000");
  vorn::runtime::Array<unsigned char, 16> bytes{};
  for (unsigned i = 0; i < 16; ++i) bytes.m_data[i] = 0xAB;
  KtUID(bytes).GetStr(text);
  EXPECT_STREQ(text, "ABABABAB-ABAB-ABAB-ABAB-ABABABABABAB");
  EXPECT_EQ(xdigitToUint8('f'), 15);
  EXPECT_EQ(xdigitToUint8('g'), 255);

  EXPECT_EQ(sizeof(KtUID), 16u);
  DummyPluginManagerLibraryFunction();
  EXPECT_NE(ModuleUtils::GetEntryExecutableHandle(), nullptr);
  EXPECT_EQ(ModuleUtils::LoadModule("/nonexistent/x.so", true), nullptr);
  EXPECT_FALSE(KTGetBinDir().empty());
  EXPECT_EQ(KTGetDBDir(), KTGetRootDir() + "/db");
  EXPECT_EQ(GetExecutableFileName(), ModuleUtils::GetZepPlatformModulePath());
  EXPECT_TRUE(KTRemoveFile("/nonexistent/file"));

  KTSearchPath search;
  qrn::fwk::IFileSearchPath* face = &search;
  face->Add(KTGetBinDir().c_str(), false);
  std::vector<std::string> found;
  EXPECT_TRUE(face->FindByExtension(found, ".so"));
  EXPECT_FALSE(found.empty());
  EXPECT_STREQ(static_cast<qrn::IBase&>(search).GetClsName(), "System.IO.SearchPath");

  ktFileLog log;
  log.WriteLine("nothing to write to");
  EXPECT_EQ(log.Detach(), nullptr);

  struct Derived : ktbaserefcount {
    ~Derived() override { g_events.push_back("derived gone"); }
  };
  g_events.clear();
  Derived* d = new Derived;
  EXPECT_EQ(d->AddRef(), 2);
  EXPECT_EQ(d->Release(), 1);
  EXPECT_EQ(d->Release(), 0);
  EXPECT_EQ(g_events, std::vector<std::string>{"derived gone"});

  boost::signals2::signal<void()> sig;
  int calls = 0;
  {
    BaseSystem::ktconnection conn(sig.connect([&] { ++calls; }));
    qrn::signalling::IConnection* ic = &conn;
    EXPECT_TRUE(ic->IsConnected());
    EXPECT_FALSE(ic->Blocked());
    ic->Block(true);
    sig();
    EXPECT_TRUE(ic->Blocked());
    ic->Unblock();
    ic->Swap(nullptr);
    EXPECT_STREQ(conn.GetClsName(), "System.Signals.Connection");
  }
  sig();
  EXPECT_EQ(calls, 1);
}

}  // namespace
