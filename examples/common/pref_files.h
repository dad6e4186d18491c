// Preference files as the example programs show them: the library's default
// locations and a word on each file's state.
#ifndef KTBASE_EXAMPLES_PREF_FILES_H
#define KTBASE_EXAMPLES_PREF_FILES_H

#include <ktbase/ktprefmanager.h>

#include <string>

namespace ktexamples {

// "user", "project", "site"; "all" for ePrefAll.
const char* ScopeName(IKTPrefManager::EPrefType type);

// The files a fresh preference manager uses: <temporary folder>/Norvex/Tessel/
// user.prefs and <ROOT_DIR>/site.prefs. DefaultUserFile throws
// boost::filesystem::filesystem_error when the temporary folder is unusable
// (as IKTPrefManager::Create() does).
std::string DefaultUserFile();
std::string DefaultSiteFile();

// How the library treats `path` when it loads a scope from it: "" for a
// readable file, else a short note such as "missing: empty scope".
std::string FileNote(const std::string& path);

}  // namespace ktexamples

#endif  // KTBASE_EXAMPLES_PREF_FILES_H
