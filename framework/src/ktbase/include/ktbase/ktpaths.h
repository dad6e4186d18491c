// Installation directories, found from where the dynamic loader mapped
// "libktbase.so": bin (its folder), root (two levels up) and db (root/db).
// Nothing is cached: each call walks the loader's list again. None throws
// (but for std::bad_alloc).
#ifndef KTBASE_KTPATHS_H
#define KTBASE_KTPATHS_H

#include <ktbase/ktbase_export.h>

#include <string>

// Full path of the first loaded object whose path contains `name` anywhere
// (not anchored to the file name); "" when none does.
KTBASE_API std::string KTGetDynamicLibraryPath(const std::string& name);
// Folder of "libktbase.so" (no trailing separator); "" when the matched file
// is not exactly named "libktbase.so".
KTBASE_API std::string KTGetBinDir();
// KTGetBinDir() with two components removed; may be "".
KTBASE_API std::string KTGetRootDir();
// KTGetRootDir()/db; "db" when the root is empty.
KTBASE_API std::string KTGetDBDir();
// Despite its name: the full path of the loaded "libzepplatform.so", or "".
KTBASE_API std::string GetExecutableFileName();

#endif  // KTBASE_KTPATHS_H
