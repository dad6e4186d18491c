// Loading a plug-in module and calling its entry: what the probe does in its
// child process and the host in its own. The kit's only user of dlfcn.h.
#ifndef KTBASE_PLUGINHOST_MODULE_LOADER_H
#define KTBASE_PLUGINHOST_MODULE_LOADER_H

#include <ktbase/ktplugin.h>
#include <ktbase/ktpluginhost.h>

#include <string>

namespace ktpluginhost {

struct OpenedModule {
  void* handle = nullptr;  // never closed: what the entry registers points into it
  ktplugin::EntryFunction entry = nullptr;
  int version = 0;
};

// Loads `path` (lazy, local, as ModuleUtils::LoadModule) and looks up its
// version and entry in the module itself only. kGood with `module` filled;
// else kRefused (no version function, or another version) or kFailed
// (cannot be loaded, no entry of its own), with a one-line `message`. The
// handle stays open in every case where the module was loaded: its static
// constructors have run.
Verdict OpenModule(const std::string& path, OpenedModule& module, std::string& message);

// Calls `entry`; false with "KtPluginEntry() threw: ..." when it throws.
bool CallEntry(ktplugin::EntryFunction entry, qrn::ISystem* system, std::string& message);

}  // namespace ktpluginhost

#endif  // KTBASE_PLUGINHOST_MODULE_LOADER_H
