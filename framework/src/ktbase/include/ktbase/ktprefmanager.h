/// @file
/// The preference manager: typed settings kept as text in three scopes.
///
/// IKTPrefManager's slots are append-only: plug-ins call them by position.
/// @ingroup prefs
#ifndef KTBASE_KTPREFMANAGER_H
#define KTBASE_KTPREFMANAGER_H

#include <ktbase/ibase.h>
#include <ktbase/idestroy.h>
#include <ktbase/isingleton.h>
#include <ktbase/ktbase_export.h>

#include <map>
#include <string>
#include <vector>

/// Typed settings kept as text in three scopes (user, project, site), each
/// with a file of `key=value` lines (see @ref guide_prefs).
///
/// Lookup order for reads: user, then project, then site (the first scope
/// that holds the key wins, even with an empty value); `siteOnly` reads the
/// site scope alone. Values of keys ending in ".Path" (and, deliberately, of
/// every 4-character key) have `<APPDATA_DIR>` and `<ROOT_DIR>` expanded on
/// read, never in the file.
///
/// Nothing is saved until SaveToDisk() or destruction, which saves the user
/// scope unless Writable(false) was called. Files are locale-independent:
/// numbers are written and read in the classic format ("1234567", "0.5")
/// whatever global locale the host installs.
///
/// Failures are results, never exceptions: a missing key gives the default,
/// a missing file an empty scope. Only the raw-bytes setter throws (a null
/// buffer), besides std::bad_alloc.
///
/// The host creates it (Create()), owns it and usually publishes it as the
/// named object "PrefManager" (ktplugin::kPrefsName).
/// @par Threads
/// Once loaded, and while nothing writes to it, the getters (every
/// GetPref() overload, IsPref() and the raw-buffer GetPref()) may run on
/// several threads at once. Every other operation (a setter, RemovePref(),
/// Configure(), Writable(), LoadFromDisk(), SaveToDisk(), Print(),
/// destruction) must run alone: not concurrently with anything on the same
/// manager. See @ref threads.
/// @ingroup prefs
class KTBASE_API IKTPrefManager : public qrn::IBase, public qrn::IDestroy, public qrn::ISingleton {
 public:
  /// A preference scope.
  enum EPrefType {
    ePrefUser = 0,     ///< The user's file, `<tmp>/Norvex/Tessel/user.prefs` by default.
    ePrefProject = 1,  ///< A project's file; none by default (Configure()).
    ePrefSite = 2,     ///< The installation's file, `<root>/site.prefs` by default.
    ePrefAll = 3,      ///< Every scope, where an operation says so.
  };

  /// A new preference manager (CKTPrefManager) with the default files; reads
  /// no file.
  /// @return A new object the caller owns: delete it through this interface
  ///   (which saves the user scope).
  /// @throws boost::filesystem::filesystem_error when the temporary
  ///   directory (base of the application data folder) cannot be determined.
  static IKTPrefManager* Create();

  /// See CKTPrefManager::~CKTPrefManager().
  ~IKTPrefManager() override;

  /// Sets one scope's file and marks the scope not loaded, unless `path`
  /// equals the current *user* file (whatever the scope: deliberate), which
  /// changes nothing. The scope's entries stay until the next LoadFromDisk().
  /// @param path The file.
  /// @param type The scope; ePrefAll does nothing.
  virtual void Configure(const std::string& path, EPrefType type) = 0;
  /// Configure() for the three scopes, user first.
  /// @param userPath The user file.
  /// @param projectPath The project file.
  /// @param sitePath The site file.
  virtual void Configure(const std::string& userPath, const std::string& projectPath,
                         const std::string& sitePath) = 0;
  /// Allows or forbids saving.
  /// @param writable While false, SaveToDisk() (and so the destructor) writes
  ///   nothing.
  virtual void Writable(bool writable) = 0;

  /// Stores a bool as "true" or "false" in one scope, in memory.
  /// @param key The key (copied).
  /// @param value The value.
  /// @param type The scope; any but ePrefUser, ePrefProject and ePrefSite
  ///   is ignored. The same holds for every setter.
  virtual void SetPref(const std::string& key, bool value, EPrefType type) = 0;
  /// Stores a text in one scope, in memory. Every other setter goes through
  /// this one.
  /// @param key The key (copied).
  /// @param value The text (copied).
  /// @param type The scope.
  virtual void SetPref(const std::string& key, const std::string& value, EPrefType type) = 0;
  /// Stores a zero-terminated text.
  /// @param key The key (copied).
  /// @param value The text (copied); null stores "".
  /// @param type The scope.
  virtual void SetPref(const std::string& key, const char* value, EPrefType type) = 0;
  /// Stores exactly `length` bytes, zero bytes included.
  /// @param key The key (copied).
  /// @param value The bytes (copied); may be null when `length` is 0.
  /// @param length Number of bytes.
  /// @param type The scope.
  /// @throws std::logic_error for a null `value` with a non-zero length.
  virtual void SetPref(const std::string& key, const char* value, unsigned long length,
                       EPrefType type) = 0;
  /// Stores an int in the classic format ("-12").
  /// @param key The key (copied).
  /// @param value The value.
  /// @param type The scope.
  virtual void SetPref(const std::string& key, int value, EPrefType type) = 0;
  /// Stores a float in the classic format with 6 significant digits ("0.5",
  /// "1e-07").
  /// @param key The key (copied).
  /// @param value The value.
  /// @param type The scope.
  virtual void SetPref(const std::string& key, float value, EPrefType type) = 0;
  /// Stores a list joined with `separator`, unescaped. An empty list stores
  /// nothing and leaves an existing entry as it is (deliberate).
  /// @param key The key (copied).
  /// @param values The pieces (copied).
  /// @param separator Put between the pieces.
  /// @param type The scope.
  virtual void SetPref(const std::string& key, const std::vector<std::string>& values,
                       char separator, EPrefType type) = 0;

  /// Reads a bool: true only for the texts "true" and "1".
  /// @param key The key.
  /// @param defaultValue Given when the key is missing or its text empty.
  /// @param value Receives the result.
  /// @param siteOnly True to read the site scope alone.
  /// @return The result, as stored in `value`.
  /// @threadsafe
  virtual bool GetPref(const std::string& key, bool defaultValue, bool& value, bool siteOnly) = 0;
  /// Reads a text: the stored text if found (even empty), else the default
  /// (never expanded).
  /// @param key The key; may be the same object as `value`.
  /// @param defaultValue Given when the key is missing.
  /// @param value Receives the result.
  /// @param siteOnly True to read the site scope alone.
  /// @return `value`.
  /// @threadsafe
  virtual std::string& GetPref(const std::string& key, const std::string& defaultValue,
                               std::string& value, bool siteOnly) = 0;
  /// Reads a text, as the overload above.
  /// @param key The key.
  /// @param defaultValue Given when the key is missing; null counts as "".
  /// @param value Receives the result.
  /// @param siteOnly True to read the site scope alone.
  /// @return `value`.
  /// @threadsafe
  virtual std::string& GetPref(const std::string& key, const char* defaultValue, std::string& value,
                               bool siteOnly) = 0;
  /// Reads an int by unchecked stream extraction: "12px" gives 12, "abc"
  /// gives 0, a number out of range its limit.
  /// @param key The key.
  /// @param defaultValue Given when the key is missing or its text empty.
  /// @param value Receives the result.
  /// @param siteOnly True to read the site scope alone.
  /// @return The result, as stored in `value`.
  /// @threadsafe
  virtual int GetPref(const std::string& key, int defaultValue, int& value, bool siteOnly) = 0;
  /// Reads a float by unchecked stream extraction, as the int getter.
  /// @param key The key.
  /// @param defaultValue Given when the key is missing or its text empty.
  /// @param value Receives the result.
  /// @param siteOnly True to read the site scope alone.
  /// @return The result, as stored in `value`.
  /// @threadsafe
  virtual float GetPref(const std::string& key, float defaultValue, float& value,
                        bool siteOnly) = 0;
  /// Reads a list: the text cut at every `separator`, empty pieces kept.
  /// @param key The key.
  /// @param separator Where to cut.
  /// @param defaultValues Given when the key is missing.
  /// @param values Found: the pieces are *appended* (deliberate); missing:
  ///   replaced by the default.
  /// @param siteOnly True to read the site scope alone.
  /// @return `values`.
  /// @threadsafe
  virtual std::vector<std::string>& GetPref(const std::string& key, char separator,
                                            const std::vector<std::string>& defaultValues,
                                            std::vector<std::string>& values, bool siteOnly) = 0;
  /// Reads the raw bytes of a value (tokens expanded), in two calls: with a
  /// null `buffer`, learn the size; then copy exactly that many bytes,
  /// without terminator or bound check, into a buffer at least that large.
  /// @param key The key.
  /// @param buffer Null, or the caller's buffer of at least the size learnt.
  /// @param length Receives the value's size (0 when the key is missing).
  /// @threadsafe
  virtual void GetPref(const std::string& key, char* buffer, unsigned long& length) = 0;
  /// The key's bool value, as the bool GetPref() reads it; not an existence
  /// test.
  /// @param key The key.
  /// @param defaultValue Given when the key is missing or its text empty.
  /// @param siteOnly True to read the site scope alone.
  /// @return The value, or the default.
  /// @threadsafe
  virtual bool IsPref(const std::string& key, bool defaultValue, bool siteOnly) = 0;
  /// Blanks (does not erase) the entry in the first scope that holds `key`:
  /// the empty entry still hides the scopes below it and is saved empty.
  /// @param key The key; missing everywhere, nothing changes.
  virtual void RemovePref(std::string key) = 0;

  /// Reads one scope's file into its map, replacing it, unless the scope is
  /// already loaded. A missing or unreadable file leaves the scope empty (a
  /// read error is logged at level 2); a line without "=" is skipped and
  /// logged at level 1.
  /// @param type The scope.
  /// @return True for every single scope, missing file included; ePrefAll
  ///   reads nothing and returns false.
  virtual bool LoadFromDisk(EPrefType type) = 0;
  /// Writes one or all scopes, each to its file, keys in byte order. A scope
  /// with no entries or no file name is not written; a file that cannot be
  /// opened is skipped silently.
  ///
  /// A crash, a kill or a full disk during a save leaves each file with its
  /// old text or its new one, whole, and a save that gave false is on disk
  /// (links followed, mode and owner kept). Only a file that no rename can
  /// replace (a device, a FIFO, one whose folder refuses new files) is written
  /// in place, where a crash or a full disk can still cut it (the full disk
  /// reported by a true).
  /// @param type The scope, or ePrefAll (user, project, then site).
  /// @return Deliberately true only when a file was not saved whole (a failed
  ///   write, sync, close or rename, logged at level 2, or a zero byte in the
  ///   text, where the file then ends); a complete save, or no write
  ///   (read-only, no file name, empty scope, cannot open), gives false.
  virtual bool SaveToDisk(EPrefType type) = 0;
  /// Dumps the three maps, raw (no expansion), to standard output.
  virtual void Print() = 0;

  /// The qrn::ISingleton hooks, redeclared to take the two slots after
  /// Print().
  void Init() override = 0;
  /// See Init().
  void Term() override = 0;
};

/// The library's preference manager; use it through IKTPrefManager.
/// @par Threads
/// As IKTPrefManager.
/// @ingroup prefs
class KTBASE_API CKTPrefManager : public IKTPrefManager {
 public:
  /// Default files: `<root>/site.prefs` and `<tmp>/Norvex/Tessel/user.prefs`
  /// (whose folder is created). Reads no file.
  /// @throws boost::filesystem::filesystem_error when the temporary directory
  ///   cannot be determined.
  CKTPrefManager();
  /// Saves the user scope (when writable).
  ~CKTPrefManager() override;

  CKTPrefManager(const CKTPrefManager&) = delete;
  CKTPrefManager& operator=(const CKTPrefManager&) = delete;

  /// @return "PrefManager".
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

  /// Does nothing.
  void Init() override;
  /// Does nothing.
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
