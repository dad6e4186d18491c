// The plug-in of the "Writing a plug-in" guide: a singleton service, and a
// startup function that asks the system for it.
#include <ktbase/idestroy.h>
#include <ktbase/isingleton.h>
#include <ktbase/ktpaths.h>
#include <ktbase/ktplugin.h>

namespace {

qrn::ISystem* g_system = nullptr;
ktplugin::IHostJournal* g_journal = nullptr;  // the host's; may be null

// The system owns it: destroyed through qrn::IDestroy at shutdown.
class Clock final : public qrn::IBase, public qrn::ISingleton, public qrn::IDestroy {
 public:
  const char* GetClsName() override { return "Hello.Clock"; }
  void Init() override { ktplugin::Note(g_journal, "hello", "clock started"); }
  void Term() override { ktplugin::Note(g_journal, "hello", "clock stopped"); }
};

qrn::IBase* CreateClock() { return new Clock(); }

void Startup() {
  g_system->GetSingleton("Hello.Clock");  // made and Init()ed on first use
  ktplugin::Note(g_journal, "hello", "startup in root " + KTGetRootDir());
}

}  // namespace

KTPLUGIN_INFO("Hello", "6F1C2B9A-0D4E-4A7B-8C35-2E9F1A6D7B40");  // optional: name and KtUID
KTPLUGIN_ENTRY(system) {
  g_system = system;  // the pointer the host gave, kept for later calls
  g_journal = ktplugin::FindJournal(system);
  system->RegisterSingleton("Hello.Clock", &CreateClock);
  system->RegisterStartupFactory(&Startup);
}
