// The code of the "Paths" guide: the installation's folders, the data
// folder, a search path and temporary files.
#include <ktbase/ktappdatapath.h>
#include <ktbase/ktpaths.h>
#include <ktbase/ktsearchpath.h>
#include <ktbase/kttempfile.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

int main() {
  try {
    // [install]
    const std::string bin = KTGetBinDir();    // the folder of libktbase.so
    const std::string root = KTGetRootDir();  // two folders above it
    const std::string db = KTGetDBDir();      // root/db
    // [install]
    std::printf("bin %s\nroot %s\ndb %s\n", bin.c_str(), root.c_str(), db.c_str());

    // [data]
    CKTAppDataPath data("Norvex/Tessel", CKTAppDataPath::eAppDataUser);  // <tmp>/Norvex/Tessel
    const bool made = data.MakeDirs("cache");                            // creates missing folders
    // [data]
    std::printf("data %s %d\n", data.string().c_str(), made);

    // [search]
    KTSearchPath search;
    search.Add(bin.c_str(), false);  // true: every folder below it too
    std::vector<std::string> libraries;
    search.FindByExtension(libraries, ".so");  // appended, dot included
    // [search]
    std::printf("libraries %zu\n", libraries.size());

    // [temp]
    const std::string cache = data.string() + "/cache";
    {
      CKTTempFile staged(true);                                  // deleted with the object
      const bool created = staged.SetPath(cache + "/index.db");  // index.db.tmp, empty
      std::printf("staged %s %d\n", staged.string().c_str(), created);
    }
    const bool removed = KTRecursiveDelete(cache);  // read-only files too
    // [temp]
    std::printf("removed %d\n", removed);
    return 0;
  } catch (const std::exception& error) {  // boost::filesystem::filesystem_error
    std::fprintf(stderr, "paths_example: %s\n", error.what());
    return 1;
  }
}
