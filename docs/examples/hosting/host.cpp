// The host of the "Hosting plug-ins" guide: starts the system, publishes the
// preferences, loads the plug-ins of one folder through the plug-in host kit,
// runs the startup functions and ends the system. kthost does the same, with
// a report and options. Built in the tree (the docs.host test) and against an
// installation (CMakeLists.txt here, the product.consumer test).
//   host PLUGIN_FOLDER
// Prints one line per module: "<verdict> <path>", then " loaded", or ": " and
// why not. Exit status 1 when the folder cannot be read or a module was not
// loaded.
#include <ktbase/ktbase.h>
#include <ktbase/ktplugin.h>
#include <ktbase/ktpluginhost.h>
#include <ktbase/ktprefmanager.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <string>

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

    // [load]
    ktpluginhost::PluginHost host;  // verdicts cached in the user's data folder
    const ktpluginhost::ScanResult scan = host.Scan(argv[1]);  // records, probes; loads nothing
    bool all = scan.error.empty();
    if (!all) std::fprintf(stderr, "host: %s\n", scan.error.c_str());
    for (const ktpluginhost::PluginInfo& plugin : scan.plugins) {
      std::string why = plugin.reason;  // empty for a good module with a record
      bool loaded = false;
      if (plugin.verdict == ktpluginhost::Verdict::kGood) {
        const ktpluginhost::LoadResult load = host.Load(plugin, system);  // calls its entry
        loaded = load.outcome == ktpluginhost::LoadResult::kLoaded;
        if (!loaded) why = load.message;
      }
      all = all && loaded;
      std::string line = ktpluginhost::VerdictName(plugin.verdict) + (" " + plugin.path);
      if (loaded) line += " loaded";
      if (!why.empty()) line += ": " + why;
      std::printf("%s\n", line.c_str());
    }
    // [load]

    // [stop]
    system->RunStartupFactories();  // the system never runs them by itself
    // ... the application runs ...
    qrnExitSystem();  // Term() on every singleton, then what the system owns
    prefs.reset();    // saves the user scope
    // [stop]
    return all ? 0 : 1;
  } catch (const std::exception& error) {  // e.g. no temporary folder for the preferences
    std::fprintf(stderr, "host: %s\n", error.what());
    return 1;
  }
}
