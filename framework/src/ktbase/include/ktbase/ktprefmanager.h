// The preference manager: typed settings kept as text in three scopes (user,
// project, site), each with a file of `key=value` lines.
//
// Lookup order for reads: user, then project, then site (the first scope that
// holds the key wins, even with an empty value); `siteOnly` reads the site
// scope alone. Values of keys ending in ".Path" (and, deliberately, of every
// 4-character key) have "<APPDATA_DIR>" and "<ROOT_DIR>" expanded on read.
//
// Nothing is saved until SaveToDisk() or destruction, which saves the user
// scope unless Writable(false) was called. Not thread-safe.
//
// Files are locale-independent: numbers are written and read in the classic
// format ("1234567", "0.5") whatever global locale the host installs.
//
// IKTPrefManager's slots are append-only: plug-ins call them by position.
#ifndef KTBASE_KTPREFMANAGER_H
#define KTBASE_KTPREFMANAGER_H

#include <ktbase/ibase.h>
#include <ktbase/idestroy.h>
#include <ktbase/isingleton.h>
#include <ktbase/ktbase_export.h>

#include <map>
#include <string>
#include <vector>

class KTBASE_API IKTPrefManager : public qrn::IBase, public qrn::IDestroy, public qrn::ISingleton {
 public:
  enum EPrefType {
    ePrefUser = 0,
    ePrefProject = 1,
    ePrefSite = 2,
    ePrefAll = 3,
  };

  // A new CKTPrefManager the caller owns (delete through this interface).
  // Throws boost::filesystem::filesystem_error when the temporary directory
  // (base of the application data folder) cannot be determined.
  static IKTPrefManager* Create();

  ~IKTPrefManager() override;

  // Sets one scope's file and clears its loaded flag, unless `path` equals
  // the *user* file (whatever the scope: deliberate). ePrefAll: no effect.
  virtual void Configure(const std::string& path, EPrefType type) = 0;
  virtual void Configure(const std::string& userPath, const std::string& projectPath,
                         const std::string& sitePath) = 0;
  // While false, SaveToDisk() (and so the destructor) writes nothing.
  virtual void Writable(bool writable) = 0;

  // Setters write one scope in memory; any type but 0, 1, 2 is ignored.
  virtual void SetPref(const std::string& key, bool value, EPrefType type) = 0;
  // The text setter: every other setter goes through it.
  virtual void SetPref(const std::string& key, const std::string& value, EPrefType type) = 0;
  // Null `value` stores "".
  virtual void SetPref(const std::string& key, const char* value, EPrefType type) = 0;
  // Exactly `length` bytes, zero bytes included. Throws std::logic_error for
  // a null `value` with a non-zero length.
  virtual void SetPref(const std::string& key, const char* value, unsigned long length,
                       EPrefType type) = 0;
  virtual void SetPref(const std::string& key, int value, EPrefType type) = 0;
  virtual void SetPref(const std::string& key, float value, EPrefType type) = 0;
  // Joined with `separator`; an empty list stores nothing (deliberate).
  virtual void SetPref(const std::string& key, const std::vector<std::string>& values,
                       char separator, EPrefType type) = 0;

  // True only for the texts "true" and "1"; missing or empty: the default.
  virtual bool GetPref(const std::string& key, bool defaultValue, bool& value, bool siteOnly) = 0;
  // The stored text if found (even empty), else the default.
  virtual std::string& GetPref(const std::string& key, const std::string& defaultValue,
                               std::string& value, bool siteOnly) = 0;
  // Null `defaultValue` counts as "".
  virtual std::string& GetPref(const std::string& key, const char* defaultValue, std::string& value,
                               bool siteOnly) = 0;
  // Unchecked stream extraction: "12px" gives 12, "abc" gives 0;
  // missing or empty: the default.
  virtual int GetPref(const std::string& key, int defaultValue, int& value, bool siteOnly) = 0;
  virtual float GetPref(const std::string& key, float defaultValue, float& value,
                        bool siteOnly) = 0;
  // Found: the pieces are *appended* to `values` (deliberate); missing:
  // `values` becomes the default.
  virtual std::vector<std::string>& GetPref(const std::string& key, char separator,
                                            const std::vector<std::string>& defaultValues,
                                            std::vector<std::string>& values, bool siteOnly) = 0;
  // Two-call pattern: with a null `buffer`, sets `length` to the value's
  // size; then copies exactly `length` bytes, without terminator or bound
  // check, into a buffer at least that large.
  virtual void GetPref(const std::string& key, char* buffer, unsigned long& length) = 0;
  // The key's bool value (not an existence test), or the default.
  virtual bool IsPref(const std::string& key, bool defaultValue, bool siteOnly) = 0;
  // Blanks (does not erase) the entry in the first scope that holds `key`.
  virtual void RemovePref(std::string key) = 0;

  // Reads one scope's file into its map, replacing it, unless the scope is
  // already loaded. True for every single scope (missing file included);
  // ePrefAll reads nothing and returns false.
  virtual bool LoadFromDisk(EPrefType type) = 0;
  // Writes one or all scopes. Deliberately true only when a file was not
  // saved whole (a failed write, sync, close or rename, or a zero byte in the
  // text, where the file then ends); a complete save, or no write (read-only,
  // no file name, empty scope, cannot open), gives false.
  // A crash, a kill or a full disk during a save leaves each file with its
  // old text or its new one, whole, and a save that gave false is on disk
  // (links followed, mode and owner kept). Only a file that no rename can
  // replace (a device, a FIFO, one whose folder refuses new files) is written
  // in place, where a crash or a full disk can still cut it (the full disk
  // reported by a true).
  virtual bool SaveToDisk(EPrefType type) = 0;
  // Dumps the three maps, raw, to standard output.
  virtual void Print() = 0;

  // The qrn::ISingleton hooks, redeclared to take the two slots after Print().
  void Init() override = 0;
  void Term() override = 0;
};

class KTBASE_API CKTPrefManager : public IKTPrefManager {
 public:
  // Default files: <root>/site.prefs and <tmp>/Norvex/Tessel/user.prefs
  // (whose folder is created). Reads no file. Throws
  // boost::filesystem::filesystem_error when the temporary directory cannot be
  // determined.
  CKTPrefManager();
  // Saves the user scope (when writable).
  ~CKTPrefManager() override;

  CKTPrefManager(const CKTPrefManager&) = delete;
  CKTPrefManager& operator=(const CKTPrefManager&) = delete;

  // "PrefManager".
  const char* GetClsName() override;

  void Configure(const std::string& path, EPrefType type) override;
  void Configure(const std::string& userPath, const std::string& projectPath,
                 const std::string& sitePath) override;
  void Writable(bool writable) override;

  void SetPref(const std::string& key, bool value, EPrefType type) override;
  void SetPref(const std::string& key, const std::string& value, EPrefType type) override;
  void SetPref(const std::string& key, const char* value, EPrefType type) override;
  void SetPref(const std::string& key, const char* value, unsigned long length,
               EPrefType type) override;
  void SetPref(const std::string& key, int value, EPrefType type) override;
  void SetPref(const std::string& key, float value, EPrefType type) override;
  void SetPref(const std::string& key, const std::vector<std::string>& values, char separator,
               EPrefType type) override;

  bool GetPref(const std::string& key, bool defaultValue, bool& value, bool siteOnly) override;
  std::string& GetPref(const std::string& key, const std::string& defaultValue, std::string& value,
                       bool siteOnly) override;
  std::string& GetPref(const std::string& key, const char* defaultValue, std::string& value,
                       bool siteOnly) override;
  int GetPref(const std::string& key, int defaultValue, int& value, bool siteOnly) override;
  float GetPref(const std::string& key, float defaultValue, float& value, bool siteOnly) override;
  std::vector<std::string>& GetPref(const std::string& key, char separator,
                                    const std::vector<std::string>& defaultValues,
                                    std::vector<std::string>& values, bool siteOnly) override;
  void GetPref(const std::string& key, char* buffer, unsigned long& length) override;
  bool IsPref(const std::string& key, bool defaultValue, bool siteOnly) override;
  void RemovePref(std::string key) override;

  bool LoadFromDisk(EPrefType type) override;
  bool SaveToDisk(EPrefType type) override;
  void Print() override;

  // Both do nothing.
  void Init() override;
  void Term() override;

 private:
  friend class CKTPrefManagerPeer;  // white-box access for the tests

  bool SaveInternalToDisk(const std::string& path, const std::map<std::string, std::string>& prefs);
  bool LoadInternalFromDisk(const std::string& path, std::map<std::string, std::string>& prefs,
                            bool& loaded);
  bool GetInternalPref(const std::string& key, std::string& value, bool siteOnly);

  std::map<std::string, std::string> m_prefMapUser;
  std::map<std::string, std::string> m_prefMapProject;
  std::map<std::string, std::string> m_prefMapSite;
  std::map<std::string, std::string> m_prefPathTokens;
  std::string m_prefFileUser;
  std::string m_prefFileProject;
  std::string m_prefFileSite;
  bool m_loadedUser;
  bool m_loadedProject;
  bool m_loadedSite;
  bool m_writable;
};

#endif  // KTBASE_KTPREFMANAGER_H
