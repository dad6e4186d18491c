// Shared by the preference tests: a fixture that owns a manager built after
// TMPDIR points at the test folder.
#ifndef KTBASE_TESTS_PREFS_FIXTURE_H
#define KTBASE_TESTS_PREFS_FIXTURE_H

#include <ktbase/ktprefmanager.h>

#include <map>
#include <memory>
#include <string>

#include "pref_peer.h"
#include "test_support.h"

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
