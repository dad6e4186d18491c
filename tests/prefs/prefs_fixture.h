// Shared by the preference tests: white-box access and a fixture that owns a
// manager built after TMPDIR points at the test folder.
#ifndef KTBASE_TESTS_PREFS_FIXTURE_H
#define KTBASE_TESTS_PREFS_FIXTURE_H

#include <ktbase/ktprefmanager.h>

#include <map>
#include <memory>
#include <string>

#include "test_support.h"

using PrefMap = std::map<std::string, std::string>;

// Reaches what the interface cannot show: files, loaded flags, token map.
class CKTPrefManagerPeer {
 public:
  static PrefMap& map(CKTPrefManager& m, IKTPrefManager::EPrefType t) {
    return t == IKTPrefManager::ePrefUser      ? m.m_prefMapUser
           : t == IKTPrefManager::ePrefProject ? m.m_prefMapProject
                                               : m.m_prefMapSite;
  }
  static const std::string& file(CKTPrefManager& m, IKTPrefManager::EPrefType t) {
    return t == IKTPrefManager::ePrefUser      ? m.m_prefFileUser
           : t == IKTPrefManager::ePrefProject ? m.m_prefFileProject
                                               : m.m_prefFileSite;
  }
  static bool& loaded(CKTPrefManager& m, IKTPrefManager::EPrefType t) {
    return t == IKTPrefManager::ePrefUser      ? m.m_loadedUser
           : t == IKTPrefManager::ePrefProject ? m.m_loadedProject
                                               : m.m_loadedSite;
  }
  static const PrefMap& tokens(CKTPrefManager& m) { return m.m_prefPathTokens; }
  static bool writable(CKTPrefManager& m) { return m.m_writable; }
  static bool internal(CKTPrefManager& m, const std::string& key, std::string& value, bool site) {
    return m.GetInternalPref(key, value, site);
  }
};

constexpr auto kUser = IKTPrefManager::ePrefUser;
constexpr auto kProject = IKTPrefManager::ePrefProject;
constexpr auto kSite = IKTPrefManager::ePrefSite;
constexpr auto kAll = IKTPrefManager::ePrefAll;

class PrefsTest : public kttest::TempDirTest {
 protected:
  using Peer = CKTPrefManagerPeer;

  void SetUp() override {
    kttest::TempDirTest::SetUp();
    prefs.reset(new CKTPrefManager());
  }
  void TearDown() override {
    prefs.reset();
    kttest::TempDirTest::TearDown();
  }
  PrefMap& map(IKTPrefManager::EPrefType t) { return Peer::map(*prefs, t); }
  const std::string& file(IKTPrefManager::EPrefType t) { return Peer::file(*prefs, t); }
  // Points all three scopes at files of the test folder.
  void useTestFiles() { prefs->Configure(path("u.prefs"), path("p.prefs"), path("s.prefs")); }

  std::unique_ptr<CKTPrefManager> prefs;
};

#endif  // KTBASE_TESTS_PREFS_FIXTURE_H
