#include "module_loader.h"

#include <dlfcn.h>  // dlerror(), dlsym(): diagnostics ModuleUtils leaves to callers
#include <ktbase/moduleutils.h>

#include <exception>

namespace ktpluginhost {

namespace {

// " (loader's message)" when the loader has one, else "".
std::string LoaderDetail() {
  const char* text = dlerror();
  return text != nullptr ? std::string(" (") + text + ")" : std::string();
}

}  // namespace

Verdict OpenModule(const std::string& path, OpenedModule& module, std::string& message) {
  module = OpenedModule();
  dlerror();  // forget any earlier message
  module.handle = ModuleUtils::LoadModule(path.c_str(), false);
  if (module.handle == nullptr) {
    const char* text = dlerror();
    message =
        std::string("cannot be loaded: ") + (text != nullptr ? text : "no message from the loader");
    return Verdict::kFailed;
  }
  // Only the module's own symbols: functions it merely inherits from a
  // library it links to are never called.
  dlerror();
  auto version = reinterpret_cast<ktplugin::VersionFunction>(
      ModuleUtils::GetLibraryFunc(module.handle, ktplugin::kVersionName));
  if (version == nullptr) {
    message = std::string("exports no ") + ktplugin::kVersionName +
              "(): not a ktbase plug-in (build it with <ktbase/ktplugin.h>)" + LoaderDetail();
    return Verdict::kRefused;
  }
  try {
    module.version = version();
  } catch (...) {
    message = std::string(ktplugin::kVersionName) + "() threw";
    return Verdict::kRefused;
  }
  if (module.version != ktplugin::kInterfaceVersion) {
    message = "built for plug-in interface " + std::to_string(module.version) +
              ", this host needs " + std::to_string(ktplugin::kInterfaceVersion) +
              "; rebuild it against this ktbase";
    return Verdict::kRefused;
  }
  dlerror();
  module.entry = reinterpret_cast<ktplugin::EntryFunction>(
      ModuleUtils::GetLibraryFunc(module.handle, ktplugin::kEntryName));
  if (module.entry == nullptr) {
    const std::string detail = LoaderDetail();
    // dlsym() also searches the module's dependencies: say so when that is
    // where the symbol lives.
    message = std::string("has no ") + ktplugin::kEntryName + "() of its own" +
              (dlsym(module.handle, ktplugin::kEntryName) != nullptr
                   ? " (the one it sees comes from a library it links to)"
                   : detail);
    return Verdict::kFailed;
  }
  return Verdict::kGood;
}

bool CallEntry(ktplugin::EntryFunction entry, qrn::ISystem* system, std::string& message) {
  try {
    entry(system);
    return true;
  } catch (const std::exception& failure) {
    message = std::string(ktplugin::kEntryName) + "() threw: " + failure.what();
  } catch (...) {
    message = std::string(ktplugin::kEntryName) + "() threw a non-standard exception";
  }
  return false;
}

}  // namespace ktpluginhost
