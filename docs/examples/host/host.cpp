// The host of the "Hosting plug-ins" guide: starts the system, publishes
// the preferences, loads every plug-in of one folder, runs the startup
// functions and ends the system. kthost does the same, with a report.
//   host PLUGIN_FOLDER
#include <ktbase/ktbase.h>
#include <ktbase/ktplugin.h>
#include <ktbase/ktprefmanager.h>
#include <ktbase/ktsearchpath.h>
#include <ktbase/moduleutils.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <vector>

namespace {

// [load]
// Loads one plug-in and calls its entry; false when it is refused. The
// module is never unloaded: what it registered points into its code.
bool LoadPlugin(const std::string& path, qrn::ISystem* system) {
  void* module = ModuleUtils::LoadModule(path.c_str(), false);
  if (module == nullptr) return false;
  // Only the module's own functions: never an entry it inherits from a library.
  auto version = reinterpret_cast<ktplugin::VersionFunction>(
      ModuleUtils::GetLibraryFunc(module, ktplugin::kVersionName));
  auto entry = reinterpret_cast<ktplugin::EntryFunction>(
      ModuleUtils::GetLibraryFunc(module, ktplugin::kEntryName));
  if (version == nullptr || entry == nullptr || version() != ktplugin::kInterfaceVersion)
    return false;
  try {
    entry(system);  // what it registered before a throw stays registered
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", path.c_str(), error.what());
    return false;
  }
  return true;
}
// [load]

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: host PLUGIN_FOLDER\n");
    return 2;
  }
  try {
    // [start]
    qrn::ISystem* system = qrnInitSystem(false, argc, argv);          // once per process
    std::unique_ptr<IKTPrefManager> prefs(IKTPrefManager::Create());  // the host's
    prefs->LoadFromDisk(IKTPrefManager::ePrefSite);                   // <root>/site.prefs
    prefs->LoadFromDisk(IKTPrefManager::ePrefUser);             // <tmp>/Norvex/Tessel/user.prefs
    system->SetNamedObject(ktplugin::kPrefsName, prefs.get());  // borrowed
    // [start]

    // [find]
    KTSearchPath folder;
    folder.Add(argv[1], false);
    std::vector<std::string> modules;
    folder.FindByExtension(modules, ".so");
    // [find]
    std::size_t loaded = 0;
    for (const std::string& module : modules) {
      if (LoadPlugin(module, system))
        ++loaded;
      else
        std::fprintf(stderr, "refused %s\n", module.c_str());
    }
    std::printf("loaded %zu of %zu plug-ins\n", loaded, modules.size());

    // [stop]
    system->RunStartupFactories();  // the system never runs them by itself
    // ... the application runs ...
    qrnExitSystem();  // Term() on every singleton, then what the system owns
    prefs.reset();    // saves the user scope
    // [stop]
    return loaded == modules.size() ? 0 : 1;
  } catch (const std::exception& error) {  // e.g. an unreadable plug-in folder
    std::fprintf(stderr, "host: %s\n", error.what());
    return 1;
  }
}
