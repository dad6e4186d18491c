// Reads: one lookup (user, project, site; or site alone) with ".Path" token
// expansion, and the typed getters built on it.
#include <ktbase/ktprefmanager.h>

#include <cstring>
#include <sstream>

namespace {

const std::string kPathSuffix = ".Path";

// Replaces every `token` in `value`. The normal loop searches again from the
// start after each replacement. A replacement that holds its own token would
// never end that way, so then each occurrence present is replaced once, left
// to right, and the inserted text is not searched again.
void ExpandToken(std::string& value, const std::string& token, const std::string& replacement) {
  if (token.empty()) return;
  if (replacement.find(token) == std::string::npos) {
    for (std::size_t pos = value.find(token); pos != std::string::npos; pos = value.find(token))
      value.replace(pos, token.size(), replacement);
    return;
  }
  for (std::size_t pos = value.find(token); pos != std::string::npos;
       pos = value.find(token, pos + replacement.size()))
    value.replace(pos, token.size(), replacement);
}

// One number by unchecked stream extraction: "12px" gives 12, "abc" 0, an
// out-of-range int its limit. Text without any number (blanks only) gives 0.
template <typename T>
T ExtractNumber(const std::string& text) {
  std::istringstream in(text);
  T number = T();
  in >> number;
  return number;
}

}  // namespace

// On a miss `value` stays as passed. Expansion runs either way when the last
// ".Path" starts at size() - 5 in unsigned arithmetic: every key ending in
// ".Path", and deliberately every 4-character key (npos == 4 - 5).
bool CKTPrefManager::GetInternalPref(const std::string& key, std::string& value, bool siteOnly) {
  bool found = false;
  if (siteOnly) {
    const auto it = m_prefMapSite.find(key);
    if (it != m_prefMapSite.end()) {
      value = it->second;
      found = true;
    }
  } else {
    for (const std::map<std::string, std::string>* prefs :
         {&m_prefMapUser, &m_prefMapProject, &m_prefMapSite}) {
      const auto it = prefs->find(key);
      if (it != prefs->end()) {
        value = it->second;
        found = true;
        break;
      }
    }
  }
  if (key.rfind(kPathSuffix) == key.size() - kPathSuffix.size()) {
    for (const auto& token : m_prefPathTokens) ExpandToken(value, token.first, token.second);
  }
  return found;
}

std::string& CKTPrefManager::GetPref(const std::string& key, const std::string& defaultValue,
                                     std::string& value, bool siteOnly) {
  std::string text;
  if (GetInternalPref(key, text, siteOnly))
    value = std::move(text);
  else
    value = defaultValue;
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
  std::string text;
  const bool found = GetInternalPref(key, text, siteOnly);
  const bool converted = text == "true" || text == "1";
  value = found && !text.empty() ? converted : defaultValue;
  return value;
}

int CKTPrefManager::GetPref(const std::string& key, int defaultValue, int& value, bool siteOnly) {
  std::string text;
  const bool found = GetInternalPref(key, text, siteOnly);
  const int converted = ExtractNumber<int>(text);
  value = found && !text.empty() ? converted : defaultValue;
  return value;
}

float CKTPrefManager::GetPref(const std::string& key, float defaultValue, float& value,
                              bool siteOnly) {
  std::string text;
  const bool found = GetInternalPref(key, text, siteOnly);
  const float converted = ExtractNumber<float>(text);
  value = found && !text.empty() ? converted : defaultValue;
  return value;
}

// Found: the pieces are appended to `values` (not cleared, deliberately);
// empty pieces are kept. Missing: `values` becomes `defaultValues`.
std::vector<std::string>& CKTPrefManager::GetPref(const std::string& key, char separator,
                                                  const std::vector<std::string>& defaultValues,
                                                  std::vector<std::string>& values, bool siteOnly) {
  std::string text;
  if (!GetInternalPref(key, text, siteOnly)) {
    values = defaultValues;
    return values;
  }
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
  std::string text;
  GetInternalPref(key, text, false);
  length = text.size();
  if (buffer != nullptr && !text.empty()) std::memcpy(buffer, text.data(), text.size());
}

// Not an existence test: the key's bool value, or the default.
bool CKTPrefManager::IsPref(const std::string& key, bool defaultValue, bool siteOnly) {
  bool result = false;
  return GetPref(key, defaultValue, result, siteOnly);  // virtual
}
