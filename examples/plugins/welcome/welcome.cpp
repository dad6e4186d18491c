// Example plug-in "welcome": offers a component, and at startup finds the
// greeter's service by its name and uses it. It does not link to the greeter.
#include <ktbase/idestroy.h>
#include <ktbase/ktplugin.h>

#include <string>

#include "greeting_service.h"

namespace {

constexpr const char* kSource = "welcome";
constexpr const char* kCardName = "Example.WelcomeCard";

qrn::ISystem* g_system = nullptr;
ktplugin::IHostJournal* g_journal = nullptr;
int g_cardsMade = 0;

void Note(const std::string& text) { ktplugin::Note(g_journal, kSource, text); }

// A component: every CreateComponent makes a new card that the caller owns.
class WelcomeCard final : public qrn::IBase, public qrn::IDestroy {
 public:
  WelcomeCard() : m_number(++g_cardsMade) {}
  ~WelcomeCard() override { Note("WelcomeCard #" + std::to_string(m_number) + " destroyed"); }
  const char* GetClsName() override { return kCardName; }
  int Number() const { return m_number; }

 private:
  int m_number;
};

qrn::IBase* CreateWelcomeCard() { return new WelcomeCard(); }

void WelcomeStartup() {
  qrn::IBase* found = g_system->GetSingleton(example::kGreetingServiceName);
  auto* service = dynamic_cast<example::IGreetingService*>(found);
  if (service == nullptr) {
    Note(std::string("startup: no ") + example::kGreetingServiceName + "; nobody to greet with");
    return;
  }
  Note(std::string("startup: found ") + found->GetClsName() +
       " by name: " + service->Greet("world"));

  // A card used and destroyed at once (the caller owns components)...
  qrn::IBase* card = g_system->CreateComponent(kCardName);
  if (auto* destroyable = dynamic_cast<qrn::IDestroy*>(card)) delete destroyable;
  // ...and one handed to the system, which destroys it at shutdown, after
  // the greeting service that was registered for deletion before it.
  qrn::IBase* kept = g_system->CreateComponent(kCardName);
  if (kept != nullptr) {
    Note("startup: " + service->Greet("card #" + std::to_string(g_cardsMade)) +
         " (card kept until shutdown)");
    g_system->RegisterObjectForDeletion(kept);
  }
}

}  // namespace

KTPLUGIN_ENTRY(system) {
  g_system = system;
  g_journal = ktplugin::FindJournal(system);
  system->RegisterComponent(kCardName, &CreateWelcomeCard);
  system->RegisterStartupFactory(&WelcomeStartup);
  Note("entry: registered the welcome card component and a startup factory");
}
