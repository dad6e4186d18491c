// Fuzzes a list value through the list setter and getter, then through a
// save and a reload.
//
// Invariants: an empty list stores nothing; otherwise the scope holds the
// elements joined with the separator, and the getter appends the pieces of
// that text split at the separator to what the caller's vector held (so a
// list whose elements hold no separator comes back element for element). A
// save writes exactly `key=text` and a line feed, and reports a short write
// (true, one level-2 record) exactly when a zero byte cuts the text. After a
// reload the entry is unchanged when the format can carry it: no line feed or
// zero byte anywhere, no "=" in the key, no outer spaces, a non-empty key.
#include <fuzzer/FuzzedDataProvider.h>
#include <ktbase/ktprefmanager.h>

#include <cstdint>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz_support.h"

namespace {

using ktfuzz::Expand;
using ktfuzz::Expands;
using ktfuzz::InFolder;
using ktfuzz::NewManager;
using ktfuzz::SplitsInto;

std::string Join(const std::vector<std::string>& values, char sep) {
  std::string text;
  for (size_t i = 0; i < values.size(); ++i)
    text += (i == 0 ? "" : std::string(1, sep)) + values[i];
  return text;
}

bool Survives(const std::string& key, const std::string& value) {
  const std::string both = key + value;
  return !key.empty() && key.find('=') == std::string::npos &&
         both.find('\n') == std::string::npos && both.find('\0') == std::string::npos &&
         key.front() != ' ' && key.back() != ' ' &&
         (value.empty() || (value.front() != ' ' && value.back() != ' '));
}

std::vector<std::string> Got(IKTPrefManager& m, const std::string& key, char sep, bool siteOnly) {
  std::vector<std::string> got{"old"};
  m.GetPref(key, sep, {"default"}, got, siteOnly);
  return got;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  ktfuzz::FuzzFolder();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  const int scope = in.ConsumeIntegralInRange<int>(0, 3);
  const auto type = static_cast<IKTPrefManager::EPrefType>(scope);
  const char sep = in.ConsumeIntegral<char>();
  const bool prior = in.ConsumeBool();
  const std::string key = in.ConsumeRandomLengthString(40);
  std::vector<std::string> values(in.ConsumeIntegralInRange<size_t>(0, 12));
  for (auto& value : values) value = in.ConsumeRandomLengthString(64);
  const int number = in.ConsumeIntegral<int>();
  const float real = in.ConsumeFloatingPoint<float>();

  for (const char* name : {"user.prefs", "project.prefs", "site.prefs"})
    std::remove(InFolder(name).c_str());
  ktfuzz::ClearLog();
  auto m = NewManager();
  if (prior) m->SetPref(key, std::string("prior"), type);
  m->SetPref(key, values, sep, type);

  const std::string joined = Join(values, sep);
  const PrefMap& tokens = CKTPrefManagerPeer::tokens(*m);
  const std::vector<std::string> defaults{"default"};
  if (scope == 3) {  // no scope: nothing stored anywhere
    for (int s = 0; s < 3; ++s)
      FUZZ_CHECK(CKTPrefManagerPeer::map(*m, static_cast<IKTPrefManager::EPrefType>(s)).empty());
    FUZZ_CHECK(Got(*m, key, sep, false) == defaults);
    return 0;
  }
  const PrefMap& map = CKTPrefManagerPeer::map(*m, type);
  if (values.empty()) {  // nothing stored, a previous entry kept
    FUZZ_CHECK(prior ? map.at(key) == "prior" : map.empty());
    if (!prior) FUZZ_CHECK(Got(*m, key, sep, false) == defaults);
    m->Writable(false);
    return 0;
  }
  FUZZ_CHECK(map.size() == 1 && map.at(key) == joined);
  const std::string expanded = Expand(key, joined, tokens);
  FUZZ_CHECK(SplitsInto(Got(*m, key, sep, false), expanded, sep));
  const std::vector<std::string> siteOnly = Got(*m, key, sep, true);
  FUZZ_CHECK(scope == 2 ? SplitsInto(siteOnly, expanded, sep) : siteOnly == defaults);
  bool plain = !Expands(key);
  for (const auto& value : values) plain = plain && value.find(sep) == std::string::npos;
  if (plain) {
    std::vector<std::string> same{"old"};
    same.insert(same.end(), values.begin(), values.end());
    FUZZ_CHECK(Got(*m, key, sep, false) == same);
  }
  unsigned long length = 0;
  m->GetPref(key, nullptr, length);
  FUZZ_CHECK(length == expanded.size());

  // Save: one line, cut at a zero byte (then reported as a short write).
  const std::string file = InFolder(scope == 0   ? "user.prefs"
                                    : scope == 1 ? "project.prefs"
                                                 : "site.prefs");
  const std::string text = key + "=" + joined + "\n";
  const bool cut = text.find('\0') != std::string::npos;
  FUZZ_CHECK(m->SaveToDisk(type) == cut);
  FUZZ_CHECK(ktfuzz::ReadBytes(file) == text.substr(0, text.find('\0')));
  const auto& log = ktfuzz::LogRecords();
  if (cut)
    FUZZ_CHECK(log.size() == 1 && log[0].level == 2 &&
               log[0].text == "Error: writing preferences to [" + file + "]\n");
  else
    FUZZ_CHECK(log.empty());

  if (!cut && Survives(key, joined)) {
    auto again = NewManager();
    again->Writable(false);
    FUZZ_CHECK(again->LoadFromDisk(type));
    FUZZ_CHECK(CKTPrefManagerPeer::map(*again, type) == map);
    FUZZ_CHECK(SplitsInto(Got(*again, key, sep, false), expanded, sep));
  }

  // Typed setters in the same scope.
  m->SetPref("Fuzz.Int", number, type);
  int i = 0;
  FUZZ_CHECK(m->GetPref("Fuzz.Int", 0, i, false) == number);
  m->SetPref("Fuzz.Float", real, type);
  std::ostringstream formatted;
  formatted << real;
  FUZZ_CHECK(CKTPrefManagerPeer::map(*m, type).at("Fuzz.Float") == formatted.str());
  m->SetPref("Fuzz.Bool", number % 2 == 0, type);
  FUZZ_CHECK(m->IsPref("Fuzz.Bool", number % 2 != 0, false) == (number % 2 == 0));
  m->Writable(false);
  return 0;
}
