// The library's only user of the POSIX dynamic loader (dlfcn.h, link.h).
#include <dlfcn.h>
#include <ktbase/moduleutils.h>
#include <link.h>

#include <boost/filesystem.hpp>
#include <cstdlib>
#include <cstring>

#include "moduleutils_internal.h"

namespace ModuleUtils {

void* LoadModule(const char* path, bool /*flag*/) {
  // Always lazy and local, whatever the caller asks for.
  return dlopen(path, RTLD_LAZY);
}

int UnloadModule(void* handle) { return dlclose(handle); }

std::string GetZepPlatformModulePath() {
  // A bare name: the loader searches its usual places only.
  void* handle = dlopen("libzepplatform.so", RTLD_LAZY);
  if (handle == nullptr) {
    return std::string();
  }
  link_map* map = nullptr;
  if (dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0 || map == nullptr) {
    dlclose(handle);
    return std::string();
  }
  std::string path = map->l_name != nullptr ? map->l_name : "";
  dlclose(handle);  // back to the reference count the module had
  return path;
}

void* GetEntryExecutableHandle() { return dlopen(nullptr, RTLD_LAZY); }

void* GetLibraryFunc(void* handle, const char* name) {
  void* address = dlsym(handle, name);
  if (address == nullptr) {
    return nullptr;
  }
  Dl_info info;
  if (dladdr(address, &info) == 0 || info.dli_fname == nullptr) {
    return nullptr;
  }
  try {
    const boost::filesystem::path file = boost::filesystem::absolute(
        boost::filesystem::path(info.dli_fname), boost::filesystem::current_path());
    // Reopening the defining file only yields its handle; it is closed at once.
    void* owner = dlopen(file.c_str(), RTLD_LAZY);
    if (owner == nullptr) {
      return nullptr;
    }
    dlclose(owner);
    return owner == handle ? address : nullptr;
  } catch (...) {
    return nullptr;
  }
}

std::string GetTempPath() {
  // Unset gives a trailing separator, a set value is taken as it stands:
  // callers append file names directly.
  const char* value = std::getenv("TMPDIR");
  return value != nullptr ? std::string(value) : std::string("/tmp/");
}

namespace detail {

int callback(dl_phdr_info* info, std::size_t /*size*/, void* data) {
  CbParams* params = static_cast<CbParams*>(data);
  const char* name = info->dlpi_name != nullptr ? info->dlpi_name : "";
  if (std::strstr(name, params->fragment.c_str()) == nullptr) {
    return 0;
  }
  *params->result = name;
  return 1;
}

std::string FindLoadedObject(const std::string& fragment) {
  std::string result;
  CbParams params{&result, fragment};
  dl_iterate_phdr(&callback, &params);
  return result;
}

}  // namespace detail
}  // namespace ModuleUtils

extern "C" void DummyPluginManagerLibraryFunction() {}
