// Reads: one lookup (user, project, site; or site alone) with ".Path" token
// expansion, and the typed getters built on it.
//
// Speed without changing a result: the getters find the stored text in place
// and copy it only where it is returned as text or must be expanded; numbers
// of a plain decimal form are converted directly, everything else goes
// through a default-formatted std::istringstream exactly as the contract
// says. The direct conversions give what the stream gives (see ParsePlain).
//
// Numbers are read in the classic format whatever global locale the host
// installs: a file shared by machines in different locales must mean the
// same on each.
#include <ktbase/ktprefmanager.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <locale>
#include <sstream>
#include <type_traits>

#include "ktprefmanager_search.h"

namespace {

using PrefMap = std::map<std::string, std::string>;

const char kPathSuffix[] = ".Path";
constexpr std::size_t kPathSuffixLength = sizeof kPathSuffix - 1;

// key.rfind(".Path") == key.size() - 5 in unsigned arithmetic: every key that
// ends in ".Path", and deliberately every 4-character key (npos == 4 - 5).
bool ExpandsTokens(const std::string& key) {
  const std::size_t size = key.size();
  if (size == kPathSuffixLength - 1) return true;
  return size >= kPathSuffixLength &&
         std::memcmp(key.data() + size - kPathSuffixLength, kPathSuffix, kPathSuffixLength) == 0;
}

// Replaces every `token` in `value`. The normal loop searches again from the
// start after each replacement. A replacement that holds its own token would
// never end that way, so then each occurrence present is replaced once, left
// to right, and the inserted text is not searched again.
void ExpandToken(std::string& value, const std::string& token, const std::string& replacement) {
  if (token.empty()) return;
  std::size_t pos = value.find(token);
  if (pos == std::string::npos) return;
  if (replacement.find(token) == std::string::npos) {
    for (; pos != std::string::npos; pos = value.find(token))
      value.replace(pos, token.size(), replacement);
    return;
  }
  for (; pos != std::string::npos; pos = value.find(token, pos + replacement.size()))
    value.replace(pos, token.size(), replacement);
}

void ExpandTokens(const PrefMap& tokens, std::string& value) {
  for (const auto& token : tokens) ExpandToken(value, token.first, token.second);
}

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

// Unchecked stream extraction, the reference for every number read: "12px"
// gives 12, "abc" 0, an out-of-range int its limit, an out-of-range float
// +-FLT_MAX; text without any number gives 0.
template <typename T>
T ExtractNumber(const std::string& text) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  T number = T();
  in >> number;
  return number;
}

// What `stream >> number` stores, for a text that starts with a number
// std::from_chars reads: it reads the same decimal forms and rounds a float
// the same way (correctly, as the stream's strtof does). Everything it
// refuses is left to the stream (false): leading white space, a '+', values
// out of range, and, for a float, "inf" and "nan" (the stream reads neither)
// and an exponent mark it stops at ("1e" gives 0 from the stream). The byte
// after the number is always readable: a std::string ends in a zero byte.
template <typename T>
bool ParsePlain(const std::string& text, T& number) {
  const char* const end = text.data() + text.size();
  const auto [next, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc()) return false;
  if constexpr (std::is_floating_point_v<T>) {
    return std::isfinite(number) && (*next | 0x20) != 'e';  // 'e' or 'E'
  }
  return true;
}

template <typename T>
T ConvertNumber(const std::string& text) {
  T number = T();
  if (ParsePlain(text, number)) return number;
  return ExtractNumber<T>(text);
}

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
  value = text != nullptr && !text->empty() ? *text == "true" || *text == "1" : defaultValue;
  return value;
}

int CKTPrefManager::GetPref(const std::string& key, int defaultValue, int& value, bool siteOnly) {
  std::string expanded;
  const std::string* text =
      Scopes{m_prefMapUser, m_prefMapProject, m_prefMapSite, m_prefPathTokens}.Text(key, siteOnly,
                                                                                    expanded);
  value = text != nullptr && !text->empty() ? ConvertNumber<int>(*text) : defaultValue;
  return value;
}

float CKTPrefManager::GetPref(const std::string& key, float defaultValue, float& value,
                              bool siteOnly) {
  std::string expanded;
  const std::string* text =
      Scopes{m_prefMapUser, m_prefMapProject, m_prefMapSite, m_prefPathTokens}.Text(key, siteOnly,
                                                                                    expanded);
  value = text != nullptr && !text->empty() ? ConvertNumber<float>(*text) : defaultValue;
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
