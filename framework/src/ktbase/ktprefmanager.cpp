// CKTPrefManager: construction, configuration, dump and lifecycle. The file
// format lives in ktprefmanager_io.cpp, reads in ktprefmanager_get.cpp and
// writes in ktprefmanager_set.cpp.
#include <ktbase/ktappdatapath.h>
#include <ktbase/ktpaths.h>
#include <ktbase/ktprefmanager.h>

#include <boost/filesystem/path.hpp>
#include <iostream>

IKTPrefManager::~IKTPrefManager() = default;

IKTPrefManager* IKTPrefManager::Create() { return new CKTPrefManager(); }

// Reads no file; only the application data folder is created. The exception
// of CKTAppDataPath (temporary directory unusable) leaves the constructor.
CKTPrefManager::CKTPrefManager()
    : m_loadedUser(false), m_loadedProject(false), m_loadedSite(false), m_writable(true) {
  boost::filesystem::path site(KTGetRootDir());
  site /= "site.prefs";  // an empty root leaves the relative "site.prefs"
  m_prefFileSite = site.string();

  CKTAppDataPath appData("Norvex/Tessel", static_cast<CKTAppDataPath::EKTAppDataPath>(0));
  boost::filesystem::path user(appData.string());
  user /= "user.prefs";
  // A folder that cannot be created is not an error here: the save fails later.
  appData.MakeDirs(std::string());
  m_prefFileUser = user.string();

  m_prefPathTokens["<ROOT_DIR>"] = KTGetRootDir();
  // Deliberately the bare application data base, not the "Norvex/Tessel"
  // folder that holds the user file.
  m_prefPathTokens["<APPDATA_DIR>"] =
      CKTAppDataPath(std::string(), static_cast<CKTAppDataPath::EKTAppDataPath>(0)).string();
}

// Saves the user scope (nothing after Writable(false)). Destructors are
// noexcept: an exception escaping the save ends the process.
CKTPrefManager::~CKTPrefManager() { SaveToDisk(ePrefUser); }

const char* CKTPrefManager::GetClsName() { return "PrefManager"; }

// Deliberately compares with the *user* file whatever the scope: setting the
// project or site file to the user file's text is ignored.
void CKTPrefManager::Configure(const std::string& path, EPrefType type) {
  if (path == m_prefFileUser) return;
  switch (type) {
    case ePrefUser:
      m_loadedUser = false;
      m_prefFileUser = path;
      break;
    case ePrefProject:
      m_loadedProject = false;
      m_prefFileProject = path;
      break;
    case ePrefSite:
      m_loadedSite = false;
      m_prefFileSite = path;
      break;
    default:
      break;
  }
}

void CKTPrefManager::Configure(const std::string& userPath, const std::string& projectPath,
                               const std::string& sitePath) {
  Configure(userPath, ePrefUser);
  Configure(projectPath, ePrefProject);
  Configure(sitePath, ePrefSite);
}

void CKTPrefManager::Writable(bool writable) { m_writable = writable; }

namespace {

void PrintScope(const char* label, const std::map<std::string, std::string>& prefs) {
  std::cout << label << std::endl;
  for (const auto& entry : prefs) std::cout << entry.first << ' ' << entry.second << std::endl;
}

}  // namespace

// Raw values (no token expansion); tokens, files and flags are not printed.
void CKTPrefManager::Print() {
  PrintScope("m_prefMapUser", m_prefMapUser);
  PrintScope("m_prefMapProject", m_prefMapProject);
  PrintScope("m_prefMapSite", m_prefMapSite);
}

void CKTPrefManager::Init() {}

void CKTPrefManager::Term() {}
