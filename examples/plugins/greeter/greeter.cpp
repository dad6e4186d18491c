// Example plug-in "greeter": offers the greeting service as a singleton, a
// named object describing itself, and a startup factory.
#include <ktbase/idestroy.h>
#include <ktbase/isingleton.h>
#include <ktbase/ktplugin.h>

#include <string>

#include "greeting_service.h"

namespace {

constexpr const char* kSource = "greeter";

// Set once by the entry; the module is never unloaded while the system
// lives, and the journal and preferences outlive the system.
qrn::ISystem* g_system = nullptr;
ktplugin::IHostJournal* g_journal = nullptr;

void Note(const std::string& text) { ktplugin::Note(g_journal, kSource, text); }

class GreetingService final : public example::IGreetingService,
                              public qrn::IBase,
                              public qrn::ISingleton,
                              public qrn::IDestroy {
 public:
  ~GreetingService() override {
    Note("GreetingService destroyed (after " + std::to_string(m_count) + " greetings)");
  }

  const char* GetClsName() override { return example::kGreetingServiceName; }

  void Init() override {
    // The salutation is a site preference, so administrators can change it.
    if (IKTPrefManager* prefs = ktplugin::FindPrefs(g_system)) {
      prefs->GetPref("Greeter.Salutation", std::string("Hello"), m_salutation, false);
    }
    Note("Init: salutation \"" + m_salutation + "\" (preference Greeter.Salutation)");
  }
  void Term() override { Note("Term: made " + std::to_string(m_count) + " greetings"); }

  std::string Greet(const std::string& who) override {
    ++m_count;
    return m_salutation + ", " + who + "!";
  }
  int GreetingCount() const override { return m_count; }

 private:
  std::string m_salutation = "Hello";
  int m_count = 0;
};

qrn::IBase* CreateGreetingService() { return new GreetingService(); }

// A borrowed object published by name: static, so it lives as long as the
// module, which is never unloaded.
class GreeterInfo final : public qrn::IBase {
 public:
  const char* GetClsName() override { return "Example.GreeterInfo"; }
};
GreeterInfo g_info;

void GreeterStartup() {
  Note("startup: Example.GreetingService is registered; it is made when first asked for");
}

}  // namespace

KTPLUGIN_INFO("Greeter", "5D1E0A7C-3B64-4F0B-9C2E-7A8D41F06B13");
KTPLUGIN_ENTRY(system) {
  g_system = system;
  g_journal = ktplugin::FindJournal(system);
  system->RegisterSingleton(example::kGreetingServiceName, &CreateGreetingService);
  system->SetNamedObject("Example.Greeter.Info", &g_info);
  system->RegisterStartupFactory(&GreeterStartup);
  Note("entry: registered the greeting service, its info object and a startup factory");
}
