#include "pref_files.h"

#include <ktbase/ktappdatapath.h>
#include <ktbase/ktpaths.h>

#include <boost/filesystem.hpp>

namespace ktexamples {

namespace fs = boost::filesystem;

const char* ScopeName(IKTPrefManager::EPrefType type) {
  switch (type) {
    case IKTPrefManager::ePrefUser:
      return "user";
    case IKTPrefManager::ePrefProject:
      return "project";
    case IKTPrefManager::ePrefSite:
      return "site";
    default:
      return "all";
  }
}

std::string DefaultUserFile() {
  CKTAppDataPath folder("Norvex/Tessel", CKTAppDataPath::eAppDataUser);
  fs::path file(folder.string());
  file /= "user.prefs";
  return file.string();
}

std::string DefaultSiteFile() {
  fs::path file(KTGetRootDir());
  file /= "site.prefs";
  return file.string();
}

std::string FileNote(const std::string& path) {
  if (path.empty()) return "no file: empty scope";
  boost::system::error_code code;
  const fs::file_status status = fs::status(path, code);
  if (status.type() == fs::file_not_found) return "missing: empty scope";
  if (code) return "unreadable (" + code.message() + "): empty scope";
  if (status.type() == fs::directory_file) return "a folder, not a file: empty scope";
  return "";
}

}  // namespace ktexamples
