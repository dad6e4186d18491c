// Dynamic modules over the POSIX loader, and the temporary folder's name.
// Nothing here logs or throws; on failure the loader's own message is left
// for dlerror().
#ifndef KTBASE_MODULEUTILS_H
#define KTBASE_MODULEUTILS_H

#include <ktbase/ktbase_export.h>

#include <string>

namespace ModuleUtils {

// dlopen(path, RTLD_LAZY); `flag` is ignored (deliberately never RTLD_GLOBAL
// or RTLD_NOW). Null on failure.
KTBASE_API void* LoadModule(const char* path, bool flag);
// dlclose(handle); 0 on success.
KTBASE_API int UnloadModule(void* handle);
// Full path of "libzepplatform.so" as the loader resolves it; "" when it
// cannot be loaded. Leaves the module's reference count as it was.
KTBASE_API std::string GetZepPlatformModulePath();
// The main program's handle.
KTBASE_API void* GetEntryExecutableHandle();
// The address of `name` only when the module `handle` itself defines it;
// null when it is missing or found in a dependency.
KTBASE_API void* GetLibraryFunc(void* handle, const char* name);
// "TMPDIR" exactly as set (even empty, no separator added), else "/tmp/".
KTBASE_API std::string GetTempPath();

}  // namespace ModuleUtils

// Exported under its plain name; does nothing.
extern "C" KTBASE_API void DummyPluginManagerLibraryFunction();

#endif  // KTBASE_MODULEUTILS_H
