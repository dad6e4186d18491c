// The plug-in convention of ktbase hosts (header-only; installed with the
// library's headers).
//
// A plug-in is a shared module (file extension ".so") that exports two
// functions under their plain C names:
//
//   extern "C" int  KtPluginInterfaceVersion();          // KTPLUGIN_INTERFACE_VERSION
//   extern "C" void KtPluginEntry(qrn::ISystem* system);  // registers what it offers
//
// The host reads the version first and refuses a module whose number differs
// from its own, without calling anything else in it. It then calls the entry
// once, with the live system. Both functions are looked up in the module
// itself only: a module whose entry comes from a library it links to has no
// entry of its own and is refused (so a shared entry never runs twice).
//
// The usual way to write both is the macro below:
//
//   KTPLUGIN_ENTRY(system) {
//     system->RegisterSingleton("My.Service", &CreateMyService);
//   }
//
// Contracts for plug-in authors:
// - The entry may throw; the host reports the exception and goes on, but
//   whatever the entry registered before the throw stays registered.
// - The host never unloads a plug-in while the system lives, so objects,
//   factories and startup functions may point into the module freely.
// - Hosts may hand the entry a view of the system that records what the
//   plug-in registers; keep that pointer for later calls (startup factories)
//   rather than calling qrnGetSystem(), so the host's report stays complete.
#ifndef KTBASE_KTPLUGIN_H
#define KTBASE_KTPLUGIN_H

#include <ktbase/ibase.h>
#include <ktbase/isystem.h>
#include <ktbase/ktprefmanager.h>

#include <iostream>
#include <string>

// Bump when the entry's contract or anything a host hands to plug-ins changes
// incompatibly. Hosts accept only their own number.
#define KTPLUGIN_INTERFACE_VERSION 1

// Visible from outside the module even under -fvisibility=hidden. Interfaces
// shared between modules carry it too, so their type information is found by
// dynamic_cast across module boundaries.
#define KTPLUGIN_API __attribute__((visibility("default")))

// Defines KtPluginInterfaceVersion() and opens the definition of
// KtPluginEntry(qrn::ISystem* systemName); the body follows the macro. The
// argument names a parameter, so it cannot be put in parentheses.
#define KTPLUGIN_ENTRY(systemName)                                                              \
  extern "C" KTPLUGIN_API int KtPluginInterfaceVersion() { return KTPLUGIN_INTERFACE_VERSION; } \
  extern "C" KTPLUGIN_API void KtPluginEntry(                                                   \
      qrn::ISystem* systemName)  // NOLINT(bugprone-macro-parentheses)

namespace ktplugin {

using EntryFunction = void (*)(qrn::ISystem*);
using VersionFunction = int (*)();

constexpr const char* kEntryName = "KtPluginEntry";
constexpr const char* kVersionName = "KtPluginInterfaceVersion";
constexpr int kInterfaceVersion = KTPLUGIN_INTERFACE_VERSION;

// Named objects a ktbase host publishes before it calls any entry. Both are
// borrowed: they outlive the system (the host destroys them after
// qrnExitSystem), so a plug-in may keep the pointers until its objects die.
constexpr const char* kJournalName = "KtHost.Journal";  // ktplugin::IHostJournal
constexpr const char* kPrefsName = "PrefManager";       // IKTPrefManager, loaded

// Where a plug-in tells the host what it does; the host shows it in its
// report. Texts are copied before Note() returns.
class KTPLUGIN_API IHostJournal : public qrn::IBase {
 public:
  ~IHostJournal() override = default;
  virtual void Note(const char* source, const char* text) = 0;
};

// The host's journal, or null when the host publishes none.
inline IHostJournal* FindJournal(qrn::ISystem* system) {
  if (system == nullptr) return nullptr;
  return dynamic_cast<IHostJournal*>(system->GetNamedObject(kJournalName));
}

// The host's preference manager, or null when the host publishes none.
inline IKTPrefManager* FindPrefs(qrn::ISystem* system) {
  if (system == nullptr) return nullptr;
  return dynamic_cast<IKTPrefManager*>(system->GetNamedObject(kPrefsName));
}

// Notes `text` in `journal`, or writes "[source] text" to standard output when
// there is no journal.
inline void Note(IHostJournal* journal, const char* source, const std::string& text) {
  if (journal != nullptr)
    journal->Note(source, text.c_str());
  else
    std::cout << '[' << source << "] " << text << '\n';
}

}  // namespace ktplugin

#endif  // KTBASE_KTPLUGIN_H
