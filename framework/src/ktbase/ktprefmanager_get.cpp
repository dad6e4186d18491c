// Reads: one lookup (user, project, site; or site alone) with ".Path" token
// expansion, and the typed getters built on it. The text rules they apply
// (expansion, number conversion in the classic locale) are in ktpreftext.cpp.
//
// Speed without changing a result: the getters find the stored text in place
// and copy it only where it is returned as text or must be expanded.
#include <ktbase/ktprefmanager.h>

#include <cstring>

#include "ktprefmanager_search.h"
#include "ktpreftext.h"

namespace {

using PrefMap = std::map<std::string, std::string>;
using ktpreftext::ExpandsTokens;
using ktpreftext::ExpandTokens;

// The manager's maps, as the getters search them.
struct Scopes {
  const PrefMap& user;
  const PrefMap& project;
  const PrefMap& site;
  const PrefMap& tokens;

  // The stored text of `key` in the first scope that holds it, or null.
  // Never inserts. Each map is searched as std::map::find would, with cheaper
  // comparisons (ktprefmanager_search.h); one loop over the maps rather than
  // three calls keeps one copy of that search.
  const std::string* Find(const std::string& key, bool siteOnly) const {
    const PrefMap* const order[] = {&user, &project, &site};
    const ktprefsearch::SearchKey searchKey(key);
    for (std::size_t scope = siteOnly ? 2 : 0; scope < 3; ++scope) {
      if (const std::string* value = ktprefsearch::FindValue(*order[scope], searchKey))
        return value;
    }
    return nullptr;
  }

  // The text a typed getter converts: the stored text itself, or, for a key
  // whose value is expanded, an expanded copy kept in `expanded`. Null on a
  // miss (whose empty text expansion would leave empty).
  const std::string* Text(const std::string& key, bool siteOnly, std::string& expanded) const {
    const std::string* stored = Find(key, siteOnly);
    if (stored == nullptr || !ExpandsTokens(key)) return stored;
    expanded = *stored;
    ExpandTokens(tokens, expanded);
    return &expanded;
  }
};

}  // namespace

// On a miss `value` stays as passed. Expansion runs either way (see
// ExpandsTokens).
bool CKTPrefManager::GetInternalPref(const std::string& key, std::string& value, bool siteOnly) {
  const bool expand = ExpandsTokens(key);  // before `value` changes: it may be `key`
  const std::string* stored =
      Scopes{m_prefMapUser, m_prefMapProject, m_prefMapSite, m_prefPathTokens}.Find(key, siteOnly);
  if (stored != nullptr) value = *stored;
  if (expand) ExpandTokens(m_prefPathTokens, value);
  return stored != nullptr;
}

std::string& CKTPrefManager::GetPref(const std::string& key, const std::string& defaultValue,
                                     std::string& value, bool siteOnly) {
  const bool expand = ExpandsTokens(key);  // before `value` changes: it may be `key`
  const std::string* stored =
      Scopes{m_prefMapUser, m_prefMapProject, m_prefMapSite, m_prefPathTokens}.Find(key, siteOnly);
  if (stored == nullptr) {
    value = defaultValue;  // never expanded
    return value;
  }
  value = *stored;  // reuses value's buffer
  if (expand) ExpandTokens(m_prefPathTokens, value);
  return value;
}

std::string& CKTPrefManager::GetPref(const std::string& key, const char* defaultValue,
                                     std::string& value, bool siteOnly) {
  const std::string fallback(defaultValue != nullptr ? defaultValue : "");
  return GetPref(key, fallback, value, siteOnly);  // virtual: overrides are honoured
}

// Only "true" and "1" are true; missing or empty gives the default.
bool CKTPrefManager::GetPref(const std::string& key, bool defaultValue, bool& value,
                             bool siteOnly) {
  std::string expanded;
  const std::string* text =
      Scopes{m_prefMapUser, m_prefMapProject, m_prefMapSite, m_prefPathTokens}.Text(key, siteOnly,
                                                                                    expanded);
  value = text != nullptr && !text->empty() ? ktpreftext::ToBool(*text) : defaultValue;
  return value;
}

int CKTPrefManager::GetPref(const std::string& key, int defaultValue, int& value, bool siteOnly) {
  std::string expanded;
  const std::string* text =
      Scopes{m_prefMapUser, m_prefMapProject, m_prefMapSite, m_prefPathTokens}.Text(key, siteOnly,
                                                                                    expanded);
  value = text != nullptr && !text->empty() ? ktpreftext::ToInt(*text) : defaultValue;
  return value;
}

float CKTPrefManager::GetPref(const std::string& key, float defaultValue, float& value,
                              bool siteOnly) {
  std::string expanded;
  const std::string* text =
      Scopes{m_prefMapUser, m_prefMapProject, m_prefMapSite, m_prefPathTokens}.Text(key, siteOnly,
                                                                                    expanded);
  value = text != nullptr && !text->empty() ? ktpreftext::ToFloat(*text) : defaultValue;
  return value;
}

// Found: the pieces are appended to `values` (not cleared, deliberately);
// empty pieces are kept. Missing: `values` becomes `defaultValues`.
std::vector<std::string>& CKTPrefManager::GetPref(const std::string& key, char separator,
                                                  const std::vector<std::string>& defaultValues,
                                                  std::vector<std::string>& values, bool siteOnly) {
  std::string expanded;
  const std::string* found =
      Scopes{m_prefMapUser, m_prefMapProject, m_prefMapSite, m_prefPathTokens}.Text(key, siteOnly,
                                                                                    expanded);
  if (found == nullptr) {
    values = defaultValues;
    return values;
  }
  const std::string& text = *found;
  std::size_t start = 0;
  for (std::size_t cut = text.find(separator); cut != std::string::npos;
       cut = text.find(separator, start)) {
    values.emplace_back(text, start, cut - start);
    start = cut + 1;
  }
  values.emplace_back(text, start);
  return values;
}

// `length` is only written. Copies exactly `length` bytes, no terminator, no
// bound check: call first with a null buffer to learn the size.
void CKTPrefManager::GetPref(const std::string& key, char* buffer, unsigned long& length) {
  std::string expanded;
  const std::string* text =
      Scopes{m_prefMapUser, m_prefMapProject, m_prefMapSite, m_prefPathTokens}.Text(key, false,
                                                                                    expanded);
  length = text != nullptr ? text->size() : 0;
  if (buffer != nullptr && length != 0) std::memcpy(buffer, text->data(), length);
}

// Not an existence test: the key's bool value, or the default.
bool CKTPrefManager::IsPref(const std::string& key, bool defaultValue, bool siteOnly) {
  bool result = false;
  return GetPref(key, defaultValue, result, siteOnly);  // virtual
}
