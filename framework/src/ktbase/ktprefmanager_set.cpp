// Writes: every typed setter formats its text and stores it through the
// virtual text setter, so an override of that one sees every write. Nothing
// touches the disk, and the writable flag is not consulted. Numbers are
// written in the classic format whatever the global locale (ktpreftext.h).
#include <ktbase/ktprefmanager.h>

#include <stdexcept>

#include "ktpreftext.h"

// Any type other than user, project or site (ePrefAll included) is ignored.
void CKTPrefManager::SetPref(const std::string& key, const std::string& value, EPrefType type) {
  switch (type) {
    case ePrefUser:
      m_prefMapUser.insert_or_assign(key, value);
      break;
    case ePrefProject:
      m_prefMapProject.insert_or_assign(key, value);
      break;
    case ePrefSite:
      m_prefMapSite.insert_or_assign(key, value);
      break;
    default:
      break;
  }
}

void CKTPrefManager::SetPref(const std::string& key, const char* value, EPrefType type) {
  const std::string text(value != nullptr ? value : "");
  SetPref(key, text, type);
}

// The null check stands in for std::string's own refusal, with the same
// exception type, without forming `nullptr + length`.
void CKTPrefManager::SetPref(const std::string& key, const char* value, unsigned long length,
                             EPrefType type) {
  if (value == nullptr && length != 0)
    throw std::logic_error("basic_string: construction from null is not valid");
  const std::string text = value != nullptr ? std::string(value, length) : std::string();
  SetPref(key, text, type);
}

// "true"/"false", never "1".
void CKTPrefManager::SetPref(const std::string& key, bool value, EPrefType type) {
  const std::string text(value ? "true" : "false");
  SetPref(key, text, type);
}

void CKTPrefManager::SetPref(const std::string& key, int value, EPrefType type) {
  SetPref(key, ktpreftext::FromInt(value), type);
}

// Default stream format: 6 significant digits, general notation
// ("1e-07", "1.23457e+06", "100").
void CKTPrefManager::SetPref(const std::string& key, float value, EPrefType type) {
  SetPref(key, ktpreftext::FromFloat(value), type);
}

// Joined with `separator`, unescaped. An empty list stores nothing and leaves
// an existing entry as it is (deliberate).
void CKTPrefManager::SetPref(const std::string& key, const std::vector<std::string>& values,
                             char separator, EPrefType type) {
  if (values.empty()) return;
  std::string text = values.front();
  for (std::size_t i = 1; i < values.size(); ++i) {
    text += separator;
    text += values[i];
  }
  SetPref(key, text, type);
}

// Blanks (does not erase) the entry in the first scope that holds `key`, so
// it keeps hiding lower scopes and is saved with an empty value.
void CKTPrefManager::RemovePref(std::string key) {
  for (std::map<std::string, std::string>* prefs :
       {&m_prefMapUser, &m_prefMapProject, &m_prefMapSite}) {
    const auto it = prefs->find(key);
    if (it != prefs->end()) {
      it->second.clear();
      return;
    }
  }
}
