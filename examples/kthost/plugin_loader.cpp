#include "plugin_loader.h"

#include <dlfcn.h>  // dlerror(), dlsym(): diagnostics ModuleUtils leaves to callers
#include <ktbase/ktplugin.h>
#include <ktbase/ktsearchpath.h>
#include <ktbase/moduleutils.h>

#include <algorithm>
#include <boost/filesystem.hpp>
#include <exception>

namespace kthost {

namespace fs = boost::filesystem;

namespace {

std::string LoaderMessage() {
  const char* message = dlerror();
  return message != nullptr ? message : "no message from the loader";
}

// " (loader's message)" when the loader has one, else "".
std::string LoaderDetail() {
  const char* message = dlerror();
  return message != nullptr ? std::string(" (") + message + ")" : std::string();
}

}  // namespace

std::string FileNameOf(const std::string& path) { return fs::path(path).filename().string(); }

bool FindPluginModules(const std::string& folder, std::vector<std::string>& modules,
                       std::string& error) {
  // Checked here because KTSearchPath::Add takes a missing path's parent
  // folder instead (it is meant for file paths): "/opt/x/plugins" missing
  // would otherwise load every module in /opt/x.
  boost::system::error_code code;
  const fs::file_status status = fs::status(folder, code);
  if (status.type() == fs::file_not_found) {
    error = "plug-in folder " + folder + " does not exist";
    return false;
  }
  if (code) {
    error = "cannot read plug-in folder " + folder + ": " + code.message();
    return false;
  }
  if (status.type() != fs::directory_file) {
    error = "plug-in folder " + folder + " is not a folder";
    return false;
  }
  try {
    KTSearchPath searchPath;
    searchPath.Add(folder.c_str(), false);
    searchPath.FindByExtension(modules, ".so");
  } catch (const fs::filesystem_error& failure) {
    error = "cannot read plug-in folder " + folder + ": " + failure.what();
    return false;
  }
  std::sort(modules.begin(), modules.end());
  modules.erase(std::unique(modules.begin(), modules.end()), modules.end());
  return true;
}

PluginResult PluginLoader::Load(const std::string& path) {
  PluginResult result;
  result.path = path;

  dlerror();  // forget any earlier message
  void* handle = ModuleUtils::LoadModule(path.c_str(), false);
  if (handle == nullptr) {
    result.message = "cannot be loaded: " + LoaderMessage();
    return result;
  }
  for (const auto& loaded : m_loaded) {
    if (loaded.first == handle) {
      // A link to a module already loaded: calling its entry again would
      // register everything twice.
      result.outcome = PluginResult::kSkipped;
      result.message = "same module as " + loaded.second;
      return result;
    }
  }
  m_loaded.emplace_back(handle, path);

  // Looked up in the module itself only (GetLibraryFunc), so functions a
  // module merely inherits from a library it links to are never called.
  dlerror();
  auto version = reinterpret_cast<ktplugin::VersionFunction>(
      ModuleUtils::GetLibraryFunc(handle, ktplugin::kVersionName));
  if (version == nullptr) {
    result.outcome = PluginResult::kRefused;
    result.message = std::string("exports no ") + ktplugin::kVersionName +
                     "(): not a ktbase plug-in (build it with <ktbase/ktplugin.h>)" +
                     LoaderDetail();
    return result;
  }
  m_system.SetOwner(FileNameOf(path));
  try {
    result.version = version();
  } catch (...) {
    result.outcome = PluginResult::kRefused;
    result.message = std::string(ktplugin::kVersionName) + "() threw";
    return result;
  }
  if (result.version != ktplugin::kInterfaceVersion) {
    result.outcome = PluginResult::kRefused;
    result.message = "built for plug-in interface " + std::to_string(result.version) +
                     ", this host needs " + std::to_string(ktplugin::kInterfaceVersion) +
                     "; rebuild it against this ktbase";
    return result;
  }
  dlerror();
  auto entry = reinterpret_cast<ktplugin::EntryFunction>(
      ModuleUtils::GetLibraryFunc(handle, ktplugin::kEntryName));
  if (entry == nullptr) {
    result.message = std::string("has no ") + ktplugin::kEntryName + "() of its own";
    // dlsym() also searches the module's dependencies: say so when that is
    // where the symbol lives.
    const std::string detail = LoaderDetail();
    result.message += dlsym(handle, ktplugin::kEntryName) != nullptr
                          ? " (the one it sees comes from a library it links to)"
                          : detail;
    return result;
  }
  try {
    entry(&m_system);
  } catch (const std::exception& failure) {
    result.message = std::string(ktplugin::kEntryName) + "() threw: " + failure.what();
    return result;
  } catch (...) {
    result.message = std::string(ktplugin::kEntryName) + "() threw a non-standard exception";
    return result;
  }
  result.outcome = PluginResult::kLoaded;
  return result;
}

}  // namespace kthost
