// An out-of-tree plug-in: a singleton service and a startup factory.
#include <ktbase/idestroy.h>
#include <ktbase/isingleton.h>
#include <ktbase/ktpaths.h>
#include <ktbase/ktplugin.h>

namespace {

qrn::ISystem* g_system = nullptr;
ktplugin::IHostJournal* g_journal = nullptr;

class Service final : public qrn::IBase, public qrn::ISingleton, public qrn::IDestroy {
 public:
  const char* GetClsName() override { return "Consumer.Service"; }
  void Init() override { ktplugin::Note(g_journal, "consumer", "Init"); }
  void Term() override { ktplugin::Note(g_journal, "consumer", "Term"); }
};

qrn::IBase* CreateService() { return new Service(); }

void Startup() {
  g_system->GetSingleton("Consumer.Service");
  ktplugin::Note(g_journal, "consumer", "startup in root " + KTGetRootDir());
}

}  // namespace

KTPLUGIN_ENTRY(system) {
  g_system = system;
  g_journal = ktplugin::FindJournal(system);
  system->RegisterSingleton("Consumer.Service", &CreateService);
  system->RegisterStartupFactory(&Startup);
  ktplugin::Note(g_journal, "consumer", "entry (" CONSUMER_MODE ")");
}
