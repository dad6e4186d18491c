// Fuzzes a preference file's bytes. Under libFuzzer they stay in memory and go
// through the library's text rules (ktpreftext.h): the reader's text (read to
// the end, and cut by a read error), the entries and the ignored lines must
// equal the models of fuzz_support.h, and each entry's ".Path" expansion its
// model. The conversions (against a default-formatted stream) and a search
// for a key one byte shorter (against std::map::find) cost most: they run on
// one entry per input, which one depending on the input's size.
//
// The replay of the committed seeds and cases (built with KTFUZZ_REPLAY) runs
// them on every entry, and also takes the bytes through real files and a
// manager: both scopes loaded, the warnings that name the file, every getter
// on every entry, Print, a save (exact bytes), a removal, and a reload of the
// saved file. Files cost the fuzzer more than everything else together.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "fuzz_support.h"
#include "ktprefmanager_search.h"
#include "ktpreftext.h"

namespace {

using Peer = CKTPrefManagerPeer;
using ktfuzz::Expand;
using ktfuzz::Extracted;
using ktfuzz::InFolder;
constexpr auto kUser = IKTPrefManager::ePrefUser;
constexpr auto kSite = IKTPrefManager::ePrefSite;

#ifdef KTFUZZ_REPLAY
constexpr bool kReplay = true;
#else
constexpr bool kReplay = false;
#endif

// Equal, and -0 is not 0. (A stream never extracts a NaN.)
bool SameFloat(float a, float b) { return a == b && std::signbit(a) == std::signbit(b); }

std::string Serialise(const PrefMap& prefs, char between) {
  std::string text;
  for (const auto& [key, value] : prefs) text.append(key).append(1, between).append(value) += '\n';
  return text;
}

// Every getter on one key whose (expanded) text is `text`, through the full
// and the site-only lookup (both scopes hold the same map).
void CheckGetters(IKTPrefManager& m, const std::string& key, const std::string& text) {
  static const std::vector<std::string> defaults{"d1", "d2"};
  const bool truth = text.empty() || text == "true" || text == "1";
  const int integer = text.empty() ? 17 : Extracted<int>(text);
  const float real = text.empty() ? 2.5f : Extracted<float>(text);
  std::vector<std::string> got;
  std::string s = "junk";
  for (bool siteOnly : {false, true}) {
    FUZZ_CHECK(m.GetPref(key, std::string("default"), s, siteOnly) == text);
    bool b = false;
    FUZZ_CHECK(m.GetPref(key, true, b, siteOnly) == truth && b == truth);
    int i = 0;
    FUZZ_CHECK(m.GetPref(key, 17, i, siteOnly) == integer && i == integer);
    float f = 0;
    FUZZ_CHECK(SameFloat(m.GetPref(key, 2.5f, f, siteOnly), real) && SameFloat(f, real));
    for (char sep : {',', text.empty() ? ';' : text[0]}) {
      got.assign(1, "old");
      FUZZ_CHECK(ktfuzz::SplitsInto(m.GetPref(key, sep, defaults, got, siteOnly), text, sep));
    }
    FUZZ_CHECK(m.GetPref(key, static_cast<const char*>(nullptr), s, siteOnly) == text);
    FUZZ_CHECK(m.IsPref(key, true, siteOnly) == truth);
  }
  unsigned long length = 12345;
  m.GetPref(key, nullptr, length);
  FUZZ_CHECK(length == text.size());
  std::string buffer(length + 1, '\x5a');
  m.GetPref(key, &buffer[0], length);
  FUZZ_CHECK(length == text.size() && buffer.compare(0, length, text) == 0);
  FUZZ_CHECK(buffer[length] == '\x5a');  // no terminator written
}

// The real I/O path for `bytes`, whose entries and ignored lines are known.
// One manager serves every input: each load follows a Configure, which marks
// the scope unloaded, so the maps hold only this input's files.
void CheckFiles(std::string_view bytes, const PrefMap& entries,
                const std::vector<std::string_view>& ignored) {
  static CKTPrefManager& m = *ktfuzz::NewManager().release();  // lives for the process
  static const std::string userFile = InFolder("user.prefs"), siteFile = InFolder("site.prefs"),
                           projectFile = InFolder("project.prefs");
  const auto reconfigure = [&] {
    m.Configure(std::string(), kUser);  // the same user file again would be ignored
    m.Configure(userFile, projectFile, siteFile);
  };
  ktfuzz::WriteBytes(userFile, bytes.data(), bytes.size());
  ktfuzz::WriteBytes(siteFile, bytes.data(), bytes.size());
  const PrefMap& user = Peer::map(m, kUser);

  // Load both scopes; one warning record per ignored line and scope.
  reconfigure();
  ktfuzz::ClearLog();
  FUZZ_CHECK(m.LoadFromDisk(kUser) && m.LoadFromDisk(kSite));
  FUZZ_CHECK(m.LoadFromDisk(IKTPrefManager::ePrefProject));  // missing file: empty, true
  FUZZ_CHECK(!m.LoadFromDisk(IKTPrefManager::ePrefAll));
  const auto& log = ktfuzz::LogRecords();
  FUZZ_CHECK(log.size() == 2 * ignored.size());
  for (size_t i = 0; i < log.size(); ++i) {
    std::string want = "Warning : Ignoring line [";
    want.append(ignored[i % ignored.size()]).append("] in ");
    want.append(i < ignored.size() ? userFile : siteFile).append("\nReason : No '=' token found\n");
    FUZZ_CHECK(log[i].level == 1 && log[i].text == want);
  }
  FUZZ_CHECK(user == entries && Peer::map(m, kSite) == entries);
  FUZZ_CHECK(Peer::map(m, IKTPrefManager::ePrefProject).empty());

  // Getters on every key, and on one key that is not there.
  const PrefMap& tokens = Peer::tokens(m);
  for (const auto& [key, value] : entries) CheckGetters(m, key, Expand(key, value, tokens));
  std::string missing = "missing", s;
  while (entries.count(missing) != 0) missing += "!";
  FUZZ_CHECK(m.GetPref(missing, std::string("dflt"), s, false) == "dflt");
  std::vector<std::string> list{"old"};
  FUZZ_CHECK(m.GetPref(missing, ',', {"d"}, list, false) == std::vector<std::string>{"d"});

  // Print dumps the raw maps.
  std::ostringstream out;
  std::streambuf* previous = std::cout.rdbuf(out.rdbuf());
  m.Print();
  std::cout.rdbuf(previous);
  const std::string scope = Serialise(entries, ' ');
  FUZZ_CHECK(out.str() == "m_prefMapUser\n" + scope + "m_prefMapProject\nm_prefMapSite\n" + scope);

  // Save: exact bytes in key order and "false" (a complete write); an empty
  // scope leaves the file as it was.
  FUZZ_CHECK(!m.SaveToDisk(kUser) && log.size() == 2 * ignored.size());
  const std::string saved = ktfuzz::ReadBytes(userFile);
  FUZZ_CHECK(saved == (entries.empty() ? std::string(bytes) : Serialise(entries, '=')));
  FUZZ_CHECK(::access(projectFile.c_str(), F_OK) != 0);

  // Reload the saved file: what the models make of it (keys starting with "="
  // come back as other keys, by design of the format).
  reconfigure();
  FUZZ_CHECK(m.LoadFromDisk(kUser));
  const std::string again = ktfuzz::ReadAsLoaderDoes(saved, false);
  PrefMap reloaded;
  for (const auto& [key, value] : ktfuzz::Parse(again).lines)
    reloaded.insert_or_assign(std::string(key), value);
  FUZZ_CHECK(user == reloaded);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  ktfuzz::FuzzFolder();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::string text = ktfuzz::ReadAsLoaderDoes(bytes, false);
  FUZZ_CHECK(ktpreftext::ReaderText(std::string(bytes), false) == text);
  FUZZ_CHECK(ktpreftext::ReaderText(std::string(bytes), true) ==
             ktfuzz::ReadAsLoaderDoes(bytes, true));

  const ktfuzz::Model model = ktfuzz::Parse(text);
  PrefMap prefs;
  size_t ignored = 0;
  ktpreftext::ParseText(text, prefs, [&](std::string_view line) {
    FUZZ_CHECK(ignored < model.ignored.size() && line == model.ignored[ignored++]);
  });
  FUZZ_CHECK(ignored == model.ignored.size());

  // The last line of each key wins. Hashed, so that the model compares no
  // strings as it is built.
  std::unordered_map<std::string_view, std::string_view> last(model.lines.size());
  for (const auto& [key, value] : model.lines) last.insert_or_assign(key, value);
  FUZZ_CHECK(prefs.size() == last.size());
  static const PrefMap tokens{{"<APPDATA_DIR>", "/tmp"}, {"<ROOT_DIR>", "/opt/k"}};
  size_t index = 0;
  for (const auto& [key, value] : prefs) {
    const auto hit = last.find(key);
    FUZZ_CHECK(hit != last.end() && hit->second == value);
    const bool expands = ktpreftext::ExpandsTokens(key);
    FUZZ_CHECK(expands == ktfuzz::Expands(key));
    if (expands) {
      std::string expanded = value;
      ktpreftext::ExpandTokens(tokens, expanded);
      FUZZ_CHECK(expanded == Expand(key, value, tokens));
    }
    if (!kReplay && index++ != size % prefs.size()) continue;
    FUZZ_CHECK(ktprefsearch::FindValue(prefs, ktprefsearch::SearchKey(key)) == &value);
    const std::string shorter = key.substr(0, key.size() - !key.empty());
    FUZZ_CHECK(ktprefsearch::FindValue(prefs, ktprefsearch::SearchKey(shorter)) ==
               ktprefsearch::FindWithMap(prefs, shorter));
    FUZZ_CHECK(ktpreftext::ToBool(value) == (value == "true" || value == "1"));
    FUZZ_CHECK(ktpreftext::ToInt(value) == Extracted<int>(value));
    FUZZ_CHECK(SameFloat(ktpreftext::ToFloat(value), Extracted<float>(value)));
  }
  if (kReplay) CheckFiles(bytes, prefs, model.ignored);
  return 0;
}
