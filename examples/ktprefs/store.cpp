#include "store.h"

#include <boost/filesystem.hpp>
#include <iostream>
#include <set>
#include <sstream>

#include "pref_files.h"

namespace ktprefs {

namespace fs = boost::filesystem;

namespace {

// Sentinel default: a value read from a file never holds a line feed.
const std::string kMissing = "\n";

// What Print() writes: a label line per scope, then "key value" per entry.
std::string CapturePrint(IKTPrefManager& prefs) {
  std::ostringstream text;
  std::streambuf* previous = std::cout.rdbuf(text.rdbuf());
  try {
    prefs.Print();
  } catch (...) {
    std::cout.rdbuf(previous);
    throw;
  }
  std::cout.rdbuf(previous);
  return text.str();
}

}  // namespace

const std::string* FindEntry(const Entries& entries, const std::string& key) {
  for (const auto& entry : entries)
    if (entry.first == key) return &entry.second;
  return nullptr;
}

const std::string& Files::Of(Scope scope) const {
  return scope == IKTPrefManager::ePrefUser      ? user
         : scope == IKTPrefManager::ePrefProject ? project
                                                 : site;
}

Store::Store(const Files& files, Scope loaded)
    : m_files(files), m_loaded(loaded), m_prefs(IKTPrefManager::Create()) {
  m_prefs->Writable(false);
  // The user file first: the manager ignores a scope file equal to it.
  m_prefs->Configure(files.user, IKTPrefManager::ePrefUser);
  if (!files.project.empty()) m_prefs->Configure(files.project, IKTPrefManager::ePrefProject);
  m_prefs->Configure(files.site, IKTPrefManager::ePrefSite);
  for (Scope scope :
       {IKTPrefManager::ePrefUser, IKTPrefManager::ePrefProject, IKTPrefManager::ePrefSite}) {
    if ((loaded == scope || loaded == IKTPrefManager::ePrefAll) && !files.Of(scope).empty())
      m_prefs->LoadFromDisk(scope);
  }
}

Store::~Store() {
  m_prefs->Writable(false);
  delete m_prefs;
}

bool Store::Has(const std::string& key, bool siteOnly) {
  std::string value;
  m_prefs->GetPref(key, kMissing, value, siteOnly);
  return value != kMissing;
}

Entries Store::RawEntries() {
  static const char* const kLabels[] = {"m_prefMapUser", "m_prefMapProject", "m_prefMapSite"};
  const std::string wanted = kLabels[m_loaded == IKTPrefManager::ePrefAll ? 0 : m_loaded];
  std::istringstream text(CapturePrint(*m_prefs));
  Entries entries;
  std::set<std::string> seen;
  bool inScope = false;
  for (std::string line; std::getline(text, line);) {
    // Label lines hold no space; entry lines always do (key, space, value).
    if (line.find(' ') == std::string::npos) {
      inScope = line == wanted;
      continue;
    }
    if (!inScope) continue;
    // A key may itself hold spaces. Keys come in byte order, so a key that
    // is a prefix of this line's key (up to a space) was listed before: the
    // shortest split that names a present key not yet seen is this entry.
    std::size_t split = std::string::npos;
    for (std::size_t at = line.find(' '); at != std::string::npos; at = line.find(' ', at + 1)) {
      const std::string key = line.substr(0, at);
      if (seen.count(key) == 0 && Has(key)) {
        split = at;
        break;
      }
    }
    if (split == std::string::npos) split = line.find(' ');
    seen.insert(line.substr(0, split));
    entries.emplace_back(line.substr(0, split), line.substr(split + 1));
  }
  return entries;
}

bool Store::Save(const std::string& key, std::string& error) {
  const std::string& file = m_files.Of(m_loaded);
  const Entries expected = RawEntries();
  const fs::path folder = fs::path(file).parent_path();
  boost::system::error_code code;
  if (!folder.empty() && !fs::is_directory(folder, code)) {
    error = "cannot write " + file + ": folder " + folder.string() + " does not exist";
    return false;
  }
  m_prefs->Writable(true);
  // True only for a short write; a file that cannot be opened gives false
  // silently, hence the read-back below.
  const bool shortWrite = m_prefs->SaveToDisk(m_loaded);
  m_prefs->Writable(false);

  Store check(m_files, m_loaded);
  const Entries written = check.RawEntries();
  const std::string* want = FindEntry(expected, key);
  const std::string* got = FindEntry(written, key);
  if (shortWrite || want == nullptr || got == nullptr || *want != *got) {
    const std::string note = ktexamples::FileNote(file);
    error = "cannot write " + file + (note.empty() ? "" : " (" + note + ")");
    return false;
  }
  return true;
}

}  // namespace ktprefs
