// The code of the "Preferences" guide: typed reads through the three
// scopes, then a change saved to the user file.
//   prefs_example USER_FILE PROJECT_FILE SITE_FILE
#include <ktbase/ktprefmanager.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: prefs_example USER_FILE PROJECT_FILE SITE_FILE\n");
    return 2;
  }
  // [load]
  std::unique_ptr<IKTPrefManager> prefs(IKTPrefManager::Create());  // reads nothing yet
  prefs->Configure(argv[1], argv[2], argv[3]);                      // user, project, site
  for (auto scope :
       {IKTPrefManager::ePrefUser, IKTPrefManager::ePrefProject, IKTPrefManager::ePrefSite})
    prefs->LoadFromDisk(scope);  // a missing file is an empty scope
  // [load]

  // [read]
  int threads = 0;
  prefs->GetPref("Render.Threads", 4, threads, false);  // the first scope that holds it
  std::string plugins;
  prefs->GetPref("Plugins.Path", "", plugins, false);  // <ROOT_DIR> expanded
  std::vector<std::string> formats;
  prefs->GetPref("Export.Formats", ',', {}, formats, false);      // appended, empty pieces kept
  const bool grid = prefs->IsPref("Show.Grid", true, false);      // empty text: the default
  const bool siteGrid = prefs->IsPref("Show.Grid", false, true);  // the site scope alone
  // [read]
  std::printf("threads %d\nplugins %s\nformats %zu\ngrid %d %d\n", threads, plugins.c_str(),
              formats.size(), grid, siteGrid);

  // [write]
  prefs->SetPref("Render.Threads", threads * 2, IKTPrefManager::ePrefUser);  // in memory
  prefs->RemovePref("Show.Grid");                // blanks it in the first scope that holds it
  prefs->SaveToDisk(IKTPrefManager::ePrefUser);  // also done when the manager is deleted
  // [write]
  prefs->GetPref("Render.Threads", 4, threads, false);
  std::printf("threads now %d\n", threads);
  return 0;
}
