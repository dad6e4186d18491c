// Fuzzes a preference file's bytes: load them into the user and site scopes,
// compare the maps with a model of the reader, call every getter on every key,
// save, check the exact bytes written, and reload.
//
// The model of the reader: the file is read in fgets chunks of at most 1023
// bytes (ending after a line feed), each appended as a C string, so a zero
// byte drops the rest of its chunk; the text is split at line feeds; a line is
// split at its first "=" and only spaces are trimmed, with the two odd edges of
// the key search (a blank key part makes the key start at the "="). A line
// without "=" that is not blank gives one level-1 record.
//
// Round trip: keys that do not start with "=" come back from a save and a
// reload with the same values (loaded keys and values never hold line feeds,
// zero bytes or outer spaces); keys starting with "=" do not survive, by
// design of the format, and are not compared.
//
// One manager serves every input: each load follows a Configure, which marks
// the scope unloaded, so the maps hold only this input's files.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_support.h"

namespace {

using Peer = CKTPrefManagerPeer;
using ktfuzz::Expand;
using ktfuzz::InFolder;

struct Model {
  PrefMap prefs;
  std::vector<std::string> ignored;  // lines reported as having no "="
};

std::string ReadAsLoaderDoes(const uint8_t* data, size_t size) {
  std::string text;
  size_t pos = 0;
  while (pos < size) {
    size_t end = pos;
    while (end < size && end - pos < 1023) {
      if (data[end++] == '\n') break;
    }
    const char* chunk = reinterpret_cast<const char*>(data + pos);
    text.append(chunk, strnlen(chunk, end - pos));
    pos = end;
  }
  return text;
}

Model Parse(const std::string& text) {
  Model model;
  for (size_t start = 0, end; start < text.size(); start = end + 1) {
    end = std::min(text.find('\n', start), text.size());
    const std::string line = text.substr(start, end - start);
    const size_t eq = line.find('=');
    if (eq == std::string::npos) {
      if (line.find_first_not_of(' ') != std::string::npos) model.ignored.push_back(line);
      continue;
    }
    const size_t kb = line.find_first_not_of(' ');
    const size_t ke = line.find_last_not_of(' ', eq - 1);  // eq == 0: from the end
    std::string key = ke == std::string::npos ? line.substr(kb) : line.substr(kb, ke - kb + 1);
    const size_t vb = line.find_first_not_of(' ', eq + 1);
    model.prefs[key] = vb == std::string::npos
                           ? std::string()
                           : line.substr(vb, line.find_last_not_of(' ') - vb + 1);
  }
  return model;
}

// What a default-formatted stream extracts from `text` (0 when it reads no
// number). One stream per type, refilled for each key rather than rebuilt.
template <typename T>
T Extracted(const std::string& text) {
  static std::istringstream in;
  in.clear();
  in.str(text);
  T number = 0;
  in >> number;
  return number;
}

// Whether `text` is exactly `pieces` one after another.
bool Joins(std::string_view text, std::initializer_list<std::string_view> pieces) {
  for (std::string_view piece : pieces) {
    if (text.substr(0, piece.size()) != piece) return false;
    text.remove_prefix(piece.size());
  }
  return text.empty();
}

// Every getter on one key whose (expanded) text is `text`, through the full
// lookup; the site-only lookup through the string getter (both scopes hold
// the same map). `all` adds what does not depend on the key's text (the
// wrappers over other getters, the flag passed down by each typed getter);
// the caller asks for it on one key per input. The expected results are
// worked out once.
void CheckGetters(IKTPrefManager& m, const std::string& key, const std::string& text, bool all) {
  static const std::vector<std::string> defaults{"d1", "d2"};
  const bool truth = text.empty() || text == "true" || text == "1";
  const int integer = text.empty() ? 17 : Extracted<int>(text);
  const float real = text.empty() ? 2.5f : Extracted<float>(text);
  std::vector<std::string> got;
  std::string s = "junk";
  FUZZ_CHECK(m.GetPref(key, std::string("default"), s, true) == text);
  for (bool siteOnly : {false, true}) {
    if (siteOnly && !all) break;
    FUZZ_CHECK(m.GetPref(key, std::string("default"), s, siteOnly) == text);
    bool b = false;
    FUZZ_CHECK(m.GetPref(key, true, b, siteOnly) == truth && b == truth);
    int i = 0;
    FUZZ_CHECK(m.GetPref(key, 17, i, siteOnly) == integer && i == integer);
    float f = 0;  // compared bit for bit: -0 is not 0
    const float fGot = m.GetPref(key, 2.5f, f, siteOnly);
    FUZZ_CHECK(std::memcmp(&fGot, &real, sizeof real) == 0 &&
               std::memcmp(&f, &real, sizeof f) == 0);
    for (char sep : {',', text.empty() ? ';' : text[0]}) {
      got.assign(1, "old");
      FUZZ_CHECK(ktfuzz::SplitsInto(m.GetPref(key, sep, defaults, got, siteOnly), text, sep));
    }
    if (!all) continue;
    FUZZ_CHECK(m.GetPref(key, static_cast<const char*>(nullptr), s, siteOnly) == text);
    FUZZ_CHECK(m.IsPref(key, true, siteOnly) == truth);
  }
  unsigned long length = 12345;
  m.GetPref(key, nullptr, length);
  FUZZ_CHECK(length == text.size());
  std::string buffer(length + 1, '\x5a');
  m.GetPref(key, &buffer[0], length);
  FUZZ_CHECK(length == text.size());
  FUZZ_CHECK(buffer.compare(0, length, text) == 0);
  FUZZ_CHECK(buffer[length] == '\x5a');  // no terminator written
}

std::string Serialise(const PrefMap& prefs, char between) {
  std::string text;
  for (const auto& [key, value] : prefs) text.append(key).append(1, between).append(value) += '\n';
  return text;
}

// Keys starting with "=" sort together, from "=" up to ">": whether `a` and
// `b` agree outside that run.
bool SameButEqualKeys(const PrefMap& a, const PrefMap& b) {
  return std::equal(a.begin(), a.lower_bound("="), b.begin(), b.lower_bound("=")) &&
         std::equal(a.lower_bound(">"), a.end(), b.lower_bound(">"), b.end());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  ktfuzz::FuzzFolder();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static CKTPrefManager& m = *ktfuzz::NewManager().release();  // lives for the process
  static const std::string userFile = InFolder("user.prefs");
  static const std::string projectFile = InFolder("project.prefs");
  static const std::string siteFile = InFolder("site.prefs");
  // Configure ignores a path equal to the current user file, so the user scope
  // is pointed elsewhere first; then all three are marked unloaded.
  const auto reconfigure = [&] {
    m.Configure(std::string(), IKTPrefManager::ePrefUser);
    m.Configure(userFile, projectFile, siteFile);
  };
  // The site file is a symbolic link to the user file: one write serves both
  // (a save replaces the file the link names, and the link stays).
  static const bool linked =
      (ktfuzz::WriteBytes(userFile, "", 0), ::symlink(userFile.c_str(), siteFile.c_str()) == 0);
  FUZZ_CHECK(linked);
  const PrefMap& user = Peer::map(m, IKTPrefManager::ePrefUser);
  const PrefMap& site = Peer::map(m, IKTPrefManager::ePrefSite);
  ktfuzz::WriteBytes(userFile, data, size);
  const Model model = Parse(ReadAsLoaderDoes(data, size));

  // Load both scopes; one warning record per ignored line and scope.
  reconfigure();
  m.Writable(true);
  FUZZ_CHECK(m.LoadFromDisk(IKTPrefManager::ePrefUser));
  FUZZ_CHECK(m.LoadFromDisk(IKTPrefManager::ePrefSite));
  FUZZ_CHECK(m.LoadFromDisk(IKTPrefManager::ePrefProject));  // missing file: empty, true
  FUZZ_CHECK(!m.LoadFromDisk(IKTPrefManager::ePrefAll));
  const auto& log = ktfuzz::LogRecords();
  FUZZ_CHECK(log.size() == 2 * model.ignored.size());
  for (size_t i = 0; i < log.size(); ++i) {
    FUZZ_CHECK(
        log[i].level == 1 &&
        Joins(log[i].text,
              {"Warning : Ignoring line [", model.ignored[i % model.ignored.size()], "] in ",
               i < model.ignored.size() ? userFile : siteFile, "\nReason : No '=' token found\n"}));
  }
  FUZZ_CHECK(user == model.prefs && site == model.prefs);
  FUZZ_CHECK(Peer::map(m, IKTPrefManager::ePrefProject).empty());

  // Getters on every key, and on one key that is not there.
  const PrefMap& tokens = Peer::tokens(m);
  for (const auto& [key, value] : model.prefs)
    CheckGetters(m, key, Expand(key, value, tokens), &key == &model.prefs.begin()->first);
  std::string missing = "missing";
  while (model.prefs.count(missing) != 0) missing += "!";
  std::string s;
  FUZZ_CHECK(m.GetPref(missing, std::string("dflt"), s, false) == "dflt");
  std::vector<std::string> list{"old"};
  FUZZ_CHECK(m.GetPref(missing, ',', {"d"}, list, false) == std::vector<std::string>{"d"});

  // Print dumps the raw maps.
  {
    std::ostringstream out;
    std::streambuf* previous = std::cout.rdbuf(out.rdbuf());
    m.Print();
    std::cout.rdbuf(previous);
    const std::string scope = Serialise(model.prefs, ' ');
    FUZZ_CHECK(
        Joins(out.str(), {"m_prefMapUser\n", scope, "m_prefMapProject\nm_prefMapSite\n", scope}));
  }

  // Save: exact bytes in key order and "false" (a complete write); an empty
  // scope leaves the file as it was.
  ktfuzz::ClearLog();
  FUZZ_CHECK(!m.SaveToDisk(IKTPrefManager::ePrefUser));
  FUZZ_CHECK(log.empty());
  const std::string saved = ktfuzz::ReadBytes(userFile);
  if (model.prefs.empty())
    FUZZ_CHECK(saved == std::string_view(reinterpret_cast<const char*>(data), size));
  else
    FUZZ_CHECK(saved == Serialise(model.prefs, '='));
  FUZZ_CHECK(::access(projectFile.c_str(), F_OK) != 0);

  // Removal blanks the user entry only; the site value stays visible to a
  // site-only read.
  if (!model.prefs.empty()) {
    const auto& [key, value] = *model.prefs.begin();
    m.RemovePref(key);
    m.RemovePref(key);
    FUZZ_CHECK(user.at(key).empty() && user.size() == model.prefs.size());
    FUZZ_CHECK(m.GetPref(key, std::string("dflt"), s, false).empty());
    FUZZ_CHECK(m.GetPref(key, std::string("dflt"), s, true) == Expand(key, value, tokens));
    int i = 0;
    FUZZ_CHECK(m.GetPref(key, 7, i, false) == 7);
  }
  m.Writable(false);
  FUZZ_CHECK(!m.SaveToDisk(IKTPrefManager::ePrefAll));
  FUZZ_CHECK(log.empty());

  // Reload the saved file: keys not starting with "=" survive unchanged.
  reconfigure();
  FUZZ_CHECK(m.LoadFromDisk(IKTPrefManager::ePrefUser));
  FUZZ_CHECK(SameButEqualKeys(user, model.prefs));

  // Free what this input allocated: after an input that allocates more than
  // it frees, libFuzzer runs a leak check, which costs more than the input.
  for (int scope = 0; scope < 3; ++scope)
    Peer::map(m, static_cast<IKTPrefManager::EPrefType>(scope)).clear();
  ktfuzz::ClearLog();  // the reload warns again when the save wrote nothing
  return 0;
}
