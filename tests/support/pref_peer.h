// White-box access to a preference manager, for the tests and the fuzz
// targets: the class names this peer as a friend. Reaches what the interface
// cannot show: maps, files, loaded flags, the token map, the internal lookup.
#ifndef KTBASE_TESTS_PREF_PEER_H
#define KTBASE_TESTS_PREF_PEER_H

#include <ktbase/ktprefmanager.h>

#include <map>
#include <string>

using PrefMap = std::map<std::string, std::string>;

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

#endif  // KTBASE_TESTS_PREF_PEER_H
