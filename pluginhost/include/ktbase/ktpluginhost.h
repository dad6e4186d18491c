/// @file
/// The plug-in host kit (libktpluginhost.so): know a plug-in before running
/// it, survive the ones that crash, remember the verdicts.
///
/// A host lists a folder with PluginHost::Scan(), which reads each module's
/// record from its file (no code of the module runs), probes every module it
/// has not seen before in a child process, and keeps the verdicts in a cache.
/// It then loads the good ones with PluginHost::Load():
///
/// @code
///   ktpluginhost::PluginHost host;  // cache in the user's data folder
///   ktpluginhost::ScanResult scan = host.Scan(folder);
///   for (const ktpluginhost::PluginInfo& plugin : scan.plugins)
///     if (plugin.verdict == ktpluginhost::Verdict::kGood) host.Load(plugin, system);
/// @endcode
///
/// Threads: a PluginHost is not thread-safe; one thread at a time may call
/// it. ReadPluginRecord() and VerdictName() keep no state and may be called
/// from any thread.
#ifndef KTBASE_KTPLUGINHOST_H
#define KTBASE_KTPLUGINHOST_H

#include <ktbase/isystem.h>

#include <memory>
#include <string>
#include <vector>

#if defined(__GNUC__)
/// Exports a class or function of libktpluginhost.so.
#define KTPLUGINHOST_API __attribute__((visibility("default")))
#else
#define KTPLUGINHOST_API
#endif

/// The plug-in host kit.
namespace ktpluginhost {

/// What a module's file says about the module, read without loading it.
/// KTPLUGIN_ENTRY places the record; KTPLUGIN_INFO adds the name and
/// identifier.
struct PluginRecord {
  bool present = false;       ///< The file carries a record.
  int interfaceVersion = 0;   ///< KTPLUGIN_INTERFACE_VERSION it was built with.
  std::string ktbaseVersion;  ///< Version of the ktbase headers it was built with.
  std::string name;           ///< Plug-in name from KTPLUGIN_INFO, else empty.
  std::string uid;            ///< Canonical KtUID text from KTPLUGIN_INFO, else empty.
};

/// What ReadPluginRecord() found in a file.
enum class RecordStatus {
  kRecord,       ///< A module of this machine with a record.
  kNoRecord,     ///< A module of this machine without a record (built before records).
  kUnreadable,   ///< The file cannot be opened or read.
  kNotModule,    ///< Not an ELF file, or an ELF file that is not a shared module.
  kOtherTarget,  ///< An ELF module for another class, byte order or machine.
  kDamaged,      ///< Truncated, inconsistent headers, or a malformed record.
};

/// Reads the plug-in record of the module file at `path`. Never runs code of
/// the module and never crashes on a bad file: every defect is a status.
/// @param path The module file.
/// @param record Receives the record; reset to empty first.
/// @param why Receives a one-line reason for every status but kRecord and
///   kNoRecord; cleared otherwise.
/// @return What the file holds.
/// @throws std::bad_alloc when memory runs out; nothing else.
KTPLUGINHOST_API RecordStatus ReadPluginRecord(const std::string& path, PluginRecord& record,
                                               std::string& why);

/// The verdict on a module, kept in the cache until the file changes.
enum class Verdict {
  kGood,         ///< The probe loaded it and its entry returned: load it.
  kRefused,      ///< Built for another plug-in interface, or not a ktbase plug-in.
  kInvalid,      ///< Not a module this host can load (read from the file alone).
  kFailed,       ///< Cannot be loaded, has no entry of its own, or its entry threw.
  kCrashed,      ///< The probe died: a signal, abort(), or exit() before its entry returned.
  kHung,         ///< The probe gave no answer within the time limit.
  kHostCrashed,  ///< The host itself died while loading it at an earlier start.
};

/// The verdict's name as the cache, reports and tools spell it: "good",
/// "refused", "invalid", "failed", "crashed", "hung", "host-crashed".
/// @param verdict The verdict.
/// @return A static text; never null.
KTPLUGINHOST_API const char* VerdictName(Verdict verdict);

/// Where a verdict came from.
enum class VerdictSource {
  kCache,  ///< The cache: the file has not changed since it was judged.
  kFile,   ///< The file alone (its record, or what it is), read by this scan.
  kProbe,  ///< A probe this scan ran.
};

/// One module of a scanned folder.
struct PluginInfo {
  std::string path;                    ///< The module file.
  PluginRecord record;                 ///< Its record, when it has one.
  Verdict verdict = Verdict::kFailed;  ///< What the host may do with it.
  /// Why, for every verdict but kGood; for kGood, "no record" when the
  /// module has none, else empty.
  std::string reason;
  VerdictSource source = VerdictSource::kFile;  ///< Where the verdict came from.
};

/// What PluginHost::Scan() found.
struct ScanResult {
  std::vector<PluginInfo> plugins;  ///< Every file ending in ".so" in the folder, by path.
  std::string error;                ///< Why the folder could not be read; empty when it was.
  int probes = 0;                   ///< Probe processes this scan started.
  int cached = 0;                   ///< Verdicts taken from the cache.
  double seconds = 0.0;             ///< Wall-clock time of the scan.
  /// The module the host died loading at its previous start (now blocked),
  /// or empty.
  std::string hostCrashedIn;
  /// Why the cache could not be written (the next scan probes again), or
  /// empty.
  std::string cacheError;
};

/// What PluginHost::Load() did with one module.
struct LoadResult {
  /// The outcome of a load.
  enum Outcome {
    kLoaded,   ///< Its entry ran to its end.
    kSkipped,  ///< The same module was already loaded under another path.
    kFailed,   ///< Not loaded, or its entry threw; see the message.
  };
  Outcome outcome = kFailed;  ///< What happened.
  std::string message;        ///< Why, for every outcome but kLoaded.
  int version = 0;            ///< The module's interface version, when it was asked.
};

/// Scans plug-in folders, probes new modules in a child process, keeps the
/// verdicts in a cache file and loads good modules into the process.
///
/// Ownership: loaded modules are never unloaded (objects and functions they
/// register point into them). The host owns the PluginHost; destroying it
/// unloads nothing. Not thread-safe: call it from one thread at a time.
class KTPLUGINHOST_API PluginHost {
 public:
  /// How the host works; every field has a usable default.
  struct Options {
    /// Cache of verdicts. Empty: "plugins-interface-<N>.cache" in the user's
    /// data folder (the one of CKTAppDataPath, "Norvex/Tessel"), which
    /// follows "TMPDIR". When no folder can be made there is no cache.
    std::string cacheFile;
    /// The probe program. Empty: "ktplugin-probe" beside libktbase.so.
    std::string probeProgram;
    /// Time a probe may take, in milliseconds, before it is killed.
    int probeTimeoutMs = 10000;
    /// Forget every cached verdict: probe every module again.
    bool rescan = false;
  };

  /// Reads the cache (a damaged one counts as empty).
  /// @param options How to work.
  /// @throws std::bad_alloc when memory runs out; nothing else.
  explicit PluginHost(const Options& options);
  /// A host with the default options.
  PluginHost();
  /// Unloads nothing.
  ~PluginHost();
  PluginHost(const PluginHost&) = delete;             ///< Not copyable.
  PluginHost& operator=(const PluginHost&) = delete;  ///< Not copyable.

  /// Gives a verdict on every module (file ending in ".so") directly inside
  /// `folder`: from the cache when the file is unchanged (path, size,
  /// modification time, inode), else from its record and a probe. Blocks the
  /// module the host died loading at the previous start. Writes the cache
  /// (atomically) when it changed. Loads nothing into this process.
  /// @param folder The plug-in folder.
  /// @return The modules by path, with counts and the time taken.
  /// @throws std::bad_alloc when memory runs out; nothing else.
  ScanResult Scan(const std::string& folder);

  /// Loads a module that Scan() judged kGood and calls its entry with
  /// `system`. Notes the module in a file beside the cache first and clears
  /// the note when the entry returns, so that the next Scan() blocks it if
  /// this process dies in between. A module that fails here is cached as
  /// kFailed (kRefused when its version function disagrees).
  /// @param plugin A module from Scan(); any other verdict is not loaded.
  /// @param system What the entry receives; borrowed.
  /// @return What happened. An entry that throws gives kFailed with its text.
  LoadResult Load(const PluginInfo& plugin, qrn::ISystem* system);

  /// Drops the cached verdict on a module, so the next Scan() probes it.
  /// @param modulePath The module file, as Scan() reported it.
  /// @return Whether the cache held a verdict on it.
  bool Forget(const std::string& modulePath);

  /// The cache file in use.
  /// @return Its path, or empty when there is no cache.
  const std::string& CacheFile() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

}  // namespace ktpluginhost

#endif  // KTBASE_KTPLUGINHOST_H
