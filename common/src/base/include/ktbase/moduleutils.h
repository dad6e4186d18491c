/// @file
/// Dynamic modules over the POSIX loader, and the temporary folder's name.
/// Nothing here logs or throws (but std::bad_alloc); on failure the
/// loader's own message is left for `dlerror()`.
/// @ingroup modules
#ifndef KTBASE_MODULEUTILS_H
#define KTBASE_MODULEUTILS_H

#include <ktbase/ktbase_export.h>

#include <string>

/// Dynamic modules over the POSIX loader.
/// @ingroup modules
namespace ModuleUtils {

/// Loads a module: `dlopen(path, RTLD_LAZY)`, deliberately never
/// RTLD_GLOBAL or RTLD_NOW. Plug-ins built with ktbase_add_plugin() stay
/// mapped even after UnloadModule().
/// @param path The module's file.
/// @param flag Ignored.
/// @return The loader's handle, or null on failure.
/// @onethread
KTBASE_API void* LoadModule(const char* path, bool flag);
/// Gives a handle back: `dlclose(handle)`.
/// @param handle A handle from LoadModule().
/// @return 0 on success.
/// @onethread
KTBASE_API int UnloadModule(void* handle);
/// The full path of "libzepplatform.so" as the loader resolves it. Leaves
/// the module's reference count as it was.
/// @return The path; "" when it cannot be loaded.
/// @onethread
KTBASE_API std::string GetZepPlatformModulePath();
/// @return The main program's handle (`dlopen(nullptr, RTLD_LAZY)`).
/// @onethread
KTBASE_API void* GetEntryExecutableHandle();
/// The address of a symbol that the module itself defines.
/// @param handle A handle from LoadModule().
/// @param name The symbol's name.
/// @return The address; null when it is missing or found in a dependency
///   (so an entry a module inherits from a library is never called).
/// @onethread
KTBASE_API void* GetLibraryFunc(void* handle, const char* name);
/// The temporary folder's name as the environment gives it.
/// @return "TMPDIR" exactly as set (even empty, no separator added), else
///   "/tmp/".
/// @threadsafe While nothing changes the environment.
KTBASE_API std::string GetTempPath();

}  // namespace ModuleUtils

/// Exported under its plain name; does nothing.
/// @threadsafe
/// @ingroup modules
extern "C" KTBASE_API void DummyPluginManagerLibraryFunction();

#endif  // KTBASE_MODULEUTILS_H
