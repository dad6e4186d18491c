// Installation directories derived from where the loader mapped libktbase.so.
#include <ktbase/ktpaths.h>
#include <ktbase/moduleutils.h>

#include <boost/filesystem/path.hpp>

#include "moduleutils_internal.h"

namespace {
const char kLibraryFileName[] = "libktbase.so";
}

std::string KTGetDynamicLibraryPath(const std::string& name) {
  return ModuleUtils::detail::FindLoadedObject(name);
}

std::string KTGetBinDir() {
  boost::filesystem::path library(KTGetDynamicLibraryPath(kLibraryFileName));
  // The fragment match is unanchored, so check the file name exactly: a
  // folder named like the library, or libktbase.so.2, is not the library.
  if (library.filename().compare(boost::filesystem::path(kLibraryFileName)) != 0) {
    return std::string();
  }
  return library.remove_filename().string();
}

std::string KTGetRootDir() {
  // The installation puts the library two folders below its root.
  boost::filesystem::path root(KTGetBinDir());
  root.remove_filename();
  root.remove_filename();
  return root.string();
}

std::string KTGetDBDir() {
  boost::filesystem::path db(KTGetRootDir());
  db /= "db";
  return db.string();
}

std::string GetExecutableFileName() {
  // Deliberately the platform module's path, not the running program's.
  return ModuleUtils::GetZepPlatformModulePath();
}
