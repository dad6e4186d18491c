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
#include <ktbase/ktprefmanager.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz_support.h"

using ktfuzz::PrefMap;

// White-box access to the maps and tokens (the class is a friend).
class CKTPrefManagerPeer {
 public:
  static const PrefMap& User(const CKTPrefManager& m) { return m.m_prefMapUser; }
  static const PrefMap& Project(const CKTPrefManager& m) { return m.m_prefMapProject; }
  static const PrefMap& Site(const CKTPrefManager& m) { return m.m_prefMapSite; }
  static const PrefMap& Tokens(const CKTPrefManager& m) { return m.m_prefPathTokens; }
};

namespace {

using ktfuzz::Expand;
using ktfuzz::Expands;
using ktfuzz::InFolder;
using ktfuzz::Split;

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
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) {
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



bool AllSpace(const std::string& s) {
  for (unsigned char c : s)
    if (!std::isspace(c)) return false;
  return true;
}


template <typename T>
bool SameNumber(T a, T b) {
  return a == b || (std::isnan(a) && std::isnan(b));
}

// Every getter on one key whose (expanded) text is `text`, full lookup and
// site-only (both scopes hold the same map).
void CheckGetters(IKTPrefManager& m, const std::string& key, const std::string& text) {
  for (bool siteOnly : {false, true}) {
    std::string s = "junk";
    FUZZ_CHECK(m.GetPref(key, std::string("default"), s, siteOnly) == text);
    FUZZ_CHECK(m.GetPref(key, static_cast<const char*>(nullptr), s, siteOnly) == text);

    const bool boolExpected = text.empty() ? true : (text == "true" || text == "1");
    bool b = false;
    FUZZ_CHECK(m.GetPref(key, true, b, siteOnly) == boolExpected && b == boolExpected);
    FUZZ_CHECK(m.IsPref(key, true, siteOnly) == boolExpected);

    int i = 0;
    const int iGot = m.GetPref(key, 17, i, siteOnly);
    FUZZ_CHECK(iGot == i);
    float f = 0;
    const float fGot = m.GetPref(key, 2.5f, f, siteOnly);
    FUZZ_CHECK(SameNumber(fGot, f));
    if (text.empty()) {
      FUZZ_CHECK(i == 17 && f == 2.5f);
    } else if (!AllSpace(text)) {  // all-blank text: the extraction stores nothing
      int iModel = 0;
      float fModel = 0;
      std::istringstream(text) >> iModel;
      std::istringstream(text) >> fModel;
      FUZZ_CHECK(i == iModel && SameNumber(f, fModel));
    }

    for (char sep : {',', text.empty() ? ';' : text[0]}) {
      std::vector<std::string> got{"old"};
      m.GetPref(key, sep, {"d1", "d2"}, got, siteOnly);
      std::vector<std::string> want{"old"};
      for (auto& piece : Split(text, sep)) want.push_back(piece);
      FUZZ_CHECK(got == want);
    }
  }
  unsigned long length = 12345;
  m.GetPref(key, nullptr, length);
  FUZZ_CHECK(length == text.size());
  std::vector<char> buffer(length + 1, '\x5a');
  m.GetPref(key, buffer.data(), length);
  FUZZ_CHECK(length == text.size());
  FUZZ_CHECK(std::memcmp(buffer.data(), text.data(), length) == 0);
  FUZZ_CHECK(buffer[length] == '\x5a');  // no terminator written
}

std::string Serialise(const PrefMap& prefs) {
  std::string text;
  for (const auto& [key, value] : prefs) text += key + "=" + value + "\n";
  return text;
}

std::string Printed(const PrefMap& user, const PrefMap& site) {
  std::string text = "m_prefMapUser\n";
  for (const auto& [key, value] : user) text += key + " " + value + "\n";
  text += "m_prefMapProject\nm_prefMapSite\n";
  for (const auto& [key, value] : site) text += key + " " + value + "\n";
  return text;
}

CKTPrefManager* NewManager() {
  IKTPrefManager* made = IKTPrefManager::Create();
  FUZZ_CHECK(made != nullptr);
  auto* manager = dynamic_cast<CKTPrefManager*>(made);
  FUZZ_CHECK(manager != nullptr);
  manager->Configure(InFolder("user.prefs"), InFolder("project.prefs"), InFolder("site.prefs"));
  return manager;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  ktfuzz::FuzzFolder();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string userFile = InFolder("user.prefs");
  const std::string siteFile = InFolder("site.prefs");
  ktfuzz::WriteBytes(userFile, data, size);
  ktfuzz::WriteBytes(siteFile, data, size);
  const Model model = Parse(ReadAsLoaderDoes(data, size));

  // Load both scopes; one warning record per ignored line and scope.
  ktfuzz::ClearLog();
  std::unique_ptr<CKTPrefManager> m(NewManager());
  FUZZ_CHECK(m->LoadFromDisk(IKTPrefManager::ePrefUser));
  FUZZ_CHECK(m->LoadFromDisk(IKTPrefManager::ePrefSite));
  FUZZ_CHECK(m->LoadFromDisk(IKTPrefManager::ePrefProject));  // missing file: empty, true
  FUZZ_CHECK(!m->LoadFromDisk(IKTPrefManager::ePrefAll));
  const auto& log = ktfuzz::LogRecords();
  FUZZ_CHECK(log.size() == 2 * model.ignored.size());
  for (size_t i = 0; i < log.size(); ++i) {
    const std::string& file = i < model.ignored.size() ? userFile : siteFile;
    const std::string want = "Warning : Ignoring line [" + model.ignored[i % model.ignored.size()] +
                             "] in " + file + "\nReason : No '=' token found\n";
    FUZZ_CHECK(log[i].level == 1 && log[i].text == want);
  }
  FUZZ_CHECK(CKTPrefManagerPeer::User(*m) == model.prefs);
  FUZZ_CHECK(CKTPrefManagerPeer::Site(*m) == model.prefs);
  FUZZ_CHECK(CKTPrefManagerPeer::Project(*m).empty());

  // Getters on every key, and on one key that is not there.
  const PrefMap& tokens = CKTPrefManagerPeer::Tokens(*m);
  for (const auto& [key, value] : model.prefs) CheckGetters(*m, key, Expand(key, value, tokens));
  std::string missing = "missing";
  while (model.prefs.count(missing) != 0) missing += "!";
  std::string s;
  FUZZ_CHECK(m->GetPref(missing, std::string("dflt"), s, false) == "dflt");
  std::vector<std::string> list{"old"};
  FUZZ_CHECK(m->GetPref(missing, ',', {"d"}, list, false) == std::vector<std::string>{"d"});

  // Print dumps the raw maps.
  {
    std::ostringstream out;
    std::streambuf* previous = std::cout.rdbuf(out.rdbuf());
    m->Print();
    std::cout.rdbuf(previous);
    FUZZ_CHECK(out.str() == Printed(model.prefs, model.prefs));
  }

  // Save: exact bytes in key order and "false" (a complete write); an empty
  // scope leaves the file as it was.
  ktfuzz::ClearLog();
  FUZZ_CHECK(!m->SaveToDisk(IKTPrefManager::ePrefUser));
  FUZZ_CHECK(log.empty());
  const std::string saved = ktfuzz::ReadBytes(userFile);
  if (model.prefs.empty())
    FUZZ_CHECK(saved == std::string(reinterpret_cast<const char*>(data), size));
  else
    FUZZ_CHECK(saved == Serialise(model.prefs));
  FUZZ_CHECK(!ktfuzz::FileExists(InFolder("project.prefs")));

  // Reload in a second manager: keys not starting with "=" survive unchanged.
  {
    std::unique_ptr<CKTPrefManager> again(NewManager());
    FUZZ_CHECK(again->LoadFromDisk(IKTPrefManager::ePrefUser));
    PrefMap want, got;
    for (const auto& entry : model.prefs)
      if (entry.first[0] != '=') want.insert(entry);
    for (const auto& entry : CKTPrefManagerPeer::User(*again))
      if (entry.first[0] != '=') got.insert(entry);
    FUZZ_CHECK(got == want);
    again->Writable(false);
  }
  ktfuzz::ClearLog();  // the reload may have warned again (unsaved empty scope)

  // Removal blanks the user entry only; the site value stays visible to a
  // site-only read.
  if (!model.prefs.empty()) {
    const auto& [key, value] = *model.prefs.begin();
    m->RemovePref(key);
    m->RemovePref(key);
    FUZZ_CHECK(CKTPrefManagerPeer::User(*m).at(key).empty());
    FUZZ_CHECK(CKTPrefManagerPeer::User(*m).size() == model.prefs.size());
    FUZZ_CHECK(m->GetPref(key, std::string("dflt"), s, false).empty());
    FUZZ_CHECK(m->GetPref(key, std::string("dflt"), s, true) == Expand(key, value, tokens));
    int i = 0;
    FUZZ_CHECK(m->GetPref(key, 7, i, false) == 7);
  }
  m->Writable(false);
  FUZZ_CHECK(!m->SaveToDisk(IKTPrefManager::ePrefAll));
  m.reset();
  FUZZ_CHECK(ktfuzz::LogRecords().empty());
  return 0;
}
