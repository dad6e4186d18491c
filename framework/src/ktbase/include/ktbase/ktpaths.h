/// @file
/// Installation directories, found from where the dynamic loader mapped
/// "libktbase.so": bin (its folder), root (two levels up) and db (root/db).
/// Nothing is cached: each call walks the loader's list again. None throws
/// (but for std::bad_alloc).
/// @ingroup paths
#ifndef KTBASE_KTPATHS_H
#define KTBASE_KTPATHS_H

#include <ktbase/ktbase_export.h>

#include <string>

/// The full path of the first loaded object whose path contains `name`
/// anywhere (not anchored to the file name).
/// @param name The fragment to look for.
/// @return The path; "" when no loaded object matches.
/// @threadsafe
/// @ingroup paths
KTBASE_API std::string KTGetDynamicLibraryPath(const std::string& name);
/// The bin folder: the folder of "libktbase.so".
/// @return The folder, no trailing separator; "" when the matched file is
///   not exactly named "libktbase.so".
/// @threadsafe
/// @ingroup paths
KTBASE_API std::string KTGetBinDir();
/// The installation root: KTGetBinDir() with two components removed. It
/// holds "site.prefs" and is the value of the preference token
/// `<ROOT_DIR>`.
/// @return The folder; may be "".
/// @threadsafe
/// @ingroup paths
KTBASE_API std::string KTGetRootDir();
/// The database folder.
/// @return KTGetRootDir()/db; "db" when the root is empty.
/// @threadsafe
/// @ingroup paths
KTBASE_API std::string KTGetDBDir();
/// Despite its name: the full path of the loaded platform module
/// "libzepplatform.so" (see ModuleUtils::GetZepPlatformModulePath()).
/// @return The path, or "" when the module cannot be loaded.
/// @onethread
/// @ingroup paths
KTBASE_API std::string GetExecutableFileName();

#endif  // KTBASE_KTPATHS_H
