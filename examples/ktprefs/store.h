// ktprefs's access to the preference files, always through the library's
// preference manager.
#ifndef KTBASE_EXAMPLES_KTPREFS_STORE_H
#define KTBASE_EXAMPLES_KTPREFS_STORE_H

#include <ktbase/ktprefmanager.h>

#include <string>
#include <utility>
#include <vector>

namespace ktprefs {

using Scope = IKTPrefManager::EPrefType;
using Entries = std::vector<std::pair<std::string, std::string>>;

// The value of `key` in `entries`, or null.
const std::string* FindEntry(const Entries& entries, const std::string& key);

// The file of each scope; an empty project file means "no project scope".
struct Files {
  std::string user, project, site;
  const std::string& Of(Scope scope) const;
};

// A preference manager over `files` with one scope loaded (or, for ePrefAll,
// every scope that has a file). It is read-only except inside Save(), so
// destroying it never rewrites a file.
class Store {
 public:
  // Throws boost::filesystem::filesystem_error when the manager cannot be
  // made (unusable temporary folder).
  Store(const Files& files, Scope loaded);
  ~Store();
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  IKTPrefManager& Manager() { return *m_prefs; }

  // Whether a loaded scope holds `key` (an empty value counts); with
  // `siteOnly`, whether the site scope does.
  bool Has(const std::string& key, bool siteOnly = false);

  // The loaded scope's entries in key order, values raw (tokens not
  // expanded). Only for a store with a single scope loaded.
  Entries RawEntries();

  // Writes the loaded scope's file after a change to `key`. False with a
  // one-line reason in `error` when the file could not be written: the file
  // is read back to make sure it holds the key's new text.
  bool Save(const std::string& key, std::string& error);

 private:
  const Files& m_files;
  Scope m_loaded;
  IKTPrefManager* m_prefs;
};

}  // namespace ktprefs

#endif  // KTBASE_EXAMPLES_KTPREFS_STORE_H
