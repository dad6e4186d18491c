#include <ktbase/ktappdatapath.h>
#include <ktbase/ktpaths.h>
#include <ktbase/ktplugin.h>
#include <ktbase/ktpluginhost.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <filesystem>
#include <map>
#include <set>
#include <utility>

#include "module_loader.h"
#include "probe_runner.h"
#include "verdict_cache.h"

namespace ktpluginhost {

namespace fs = std::filesystem;

namespace {

// <user data folder>/Norvex/Tessel/plugins-interface-<N>.cache: hosts of
// another interface keep verdicts of their own. Empty when the folder
// cannot be made.
std::string DefaultCacheFile() {
  try {
    CKTAppDataPath folder("Norvex/Tessel", CKTAppDataPath::eAppDataUser);
    if (!folder.MakeDirs("")) return std::string();
    return (fs::path(folder.string()) /
            ("plugins-interface-" + std::to_string(ktplugin::kInterfaceVersion) + ".cache"))
        .string();
  } catch (const std::exception&) {
    return std::string();
  }
}

std::string DefaultProbe() {
  const std::string bin = KTGetBinDir();
  return bin.empty() ? std::string("ktplugin-probe") : (fs::path(bin) / "ktplugin-probe").string();
}

// The modules of `folder`, sorted; false with `error` when it cannot be read.
bool ListModules(const std::string& folder, std::vector<std::string>& modules, std::string& error) {
  std::error_code code;
  const fs::file_status status = fs::status(folder, code);
  if (status.type() == fs::file_type::not_found) {
    error = "plug-in folder " + folder + " does not exist";
  } else if (code) {
    error = "cannot read plug-in folder " + folder + ": " + code.message();
  } else if (status.type() != fs::file_type::directory) {
    error = "plug-in folder " + folder + " is not a folder";
  } else {
    for (fs::directory_iterator entry(folder, code), end; !code && entry != end;
         entry.increment(code)) {
      if (entry->path().extension() == ".so") modules.push_back(entry->path().string());
    }
    if (code) error = "cannot read plug-in folder " + folder + ": " + code.message();
  }
  std::sort(modules.begin(), modules.end());
  return error.empty();
}

}  // namespace

struct PluginHost::Impl {
  explicit Impl(const Options& given)
      : options(given), cache(given.cacheFile.empty() ? DefaultCacheFile() : given.cacheFile) {
    if (options.probeProgram.empty()) options.probeProgram = DefaultProbe();
  }

  // The verdict on a module the cache does not know.
  void Judge(PluginInfo& info, ScanResult& result, bool& remember) {
    std::string why;
    switch (ReadPluginRecord(info.path, info.record, why)) {
      case RecordStatus::kUnreadable:
        remember = false;  // may be readable next time
        [[fallthrough]];
      case RecordStatus::kNotModule:
      case RecordStatus::kOtherTarget:
      case RecordStatus::kDamaged:
        info.verdict = Verdict::kInvalid;
        info.reason = why;
        return;
      case RecordStatus::kRecord:
        if (info.record.interfaceVersion != ktplugin::kInterfaceVersion) {
          info.verdict = Verdict::kRefused;
          info.reason = "its record says plug-in interface " +
                        std::to_string(info.record.interfaceVersion) + ", this host needs " +
                        std::to_string(ktplugin::kInterfaceVersion) +
                        "; rebuild it against this ktbase";
          return;
        }
        break;
      case RecordStatus::kNoRecord:
        break;
    }
    const ProbeAnswer answer = RunProbe(options.probeProgram, info.path, options.probeTimeoutMs);
    ++result.probes;
    info.source = VerdictSource::kProbe;
    info.verdict = answer.verdict;
    info.reason = answer.reason;
    remember = answer.aboutModule;
    if (info.verdict == Verdict::kGood && !info.record.present) info.reason = "no record";
  }

  Options options;
  VerdictCache cache;
  std::vector<std::pair<void*, std::string>> loaded;  // handle, path
  std::map<std::string, FileKey> scanned;             // by the last Scan()
};

PluginHost::PluginHost(const Options& options) : m_impl(new Impl(options)) {
  if (!options.rescan) m_impl->cache.Load();
  // A rescan forgets the note of a module the host died loading, too.
  if (options.rescan) m_impl->cache.RemoveLoadingNote();
}

PluginHost::PluginHost() : PluginHost(Options()) {}

PluginHost::~PluginHost() = default;

ScanResult PluginHost::Scan(const std::string& folder) {
  const auto start = std::chrono::steady_clock::now();
  ScanResult result;
  VerdictCache& cache = m_impl->cache;
  std::string crashedIn;
  FileKey crashedKey;
  if (cache.TakeLoadingNote(crashedIn, crashedKey)) {
    CacheEntry entry;
    entry.key = crashedKey;
    entry.verdict = Verdict::kHostCrashed;
    entry.reason =
        "the host died while loading it at an earlier start (its entry passed the probe)";
    if (const CacheEntry* known = cache.Find(crashedIn, crashedKey)) entry.record = known->record;
    cache.Put(crashedIn, entry);
    result.hostCrashedIn = crashedIn;
  }

  std::vector<std::string> modules;
  if (ListModules(folder, modules, result.error)) {
    for (const std::string& module : modules) {
      PluginInfo info;
      info.path = module;
      FileKey key;
      const bool exists = KeyOf(module, key);
      if (exists) m_impl->scanned[module] = key;
      const CacheEntry* entry = exists ? cache.Find(module, key) : nullptr;
      if (!exists) {
        info.verdict = Verdict::kInvalid;
        info.reason = "cannot be read: it vanished or is a broken link";
      } else if (entry != nullptr) {
        info.record = entry->record;
        info.verdict = entry->verdict;
        info.reason = entry->reason;
        info.source = VerdictSource::kCache;
        ++result.cached;
      } else {
        bool remember = true;
        m_impl->Judge(info, result, remember);
        if (remember) cache.Put(module, CacheEntry{key, info.verdict, info.reason, info.record});
      }
      result.plugins.push_back(std::move(info));
    }
    cache.Prune(folder, std::set<std::string>(modules.begin(), modules.end()));
  }
  cache.Save(result.cacheError);
  result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return result;
}

LoadResult PluginHost::Load(const PluginInfo& plugin, qrn::ISystem* system) {
  LoadResult result;
  if (plugin.verdict != Verdict::kGood) {
    result.message = std::string("not loaded: its verdict is ") + VerdictName(plugin.verdict);
    return result;
  }
  VerdictCache& cache = m_impl->cache;
  // The key the scan saw: a module changed since then is blamed under its
  // old key, so a crash does not block the changed file.
  const auto scanned = m_impl->scanned.find(plugin.path);
  FileKey key;
  if (scanned != m_impl->scanned.end()) {
    key = scanned->second;
  } else if (!KeyOf(plugin.path, key)) {
    result.message = "cannot be read: it vanished or is a broken link";
    return result;
  }
  // Until the entry returns, a death of this process is blamed on this module.
  cache.NoteLoading(plugin.path, key);
  OpenedModule module;
  const Verdict verdict = OpenModule(plugin.path, module, result.message);
  result.version = module.version;
  bool ok = verdict == Verdict::kGood;
  for (const auto& loaded : m_impl->loaded) {
    if (module.handle != nullptr && loaded.first == module.handle) {
      // A link to a module already loaded: its entry must not run twice.
      cache.ClearLoading();
      result.outcome = LoadResult::kSkipped;
      result.message = "same module as " + loaded.second;
      return result;
    }
  }
  if (module.handle != nullptr) m_impl->loaded.emplace_back(module.handle, plugin.path);
  if (ok) ok = CallEntry(module.entry, system, result.message);
  cache.ClearLoading();
  if (!ok) {
    cache.Put(plugin.path, CacheEntry{key, verdict == Verdict::kGood ? Verdict::kFailed : verdict,
                                      result.message, plugin.record});
    std::string ignored;  // the verdict is in memory; the next save retries
    cache.Save(ignored);
    return result;
  }
  result.outcome = LoadResult::kLoaded;
  result.message.clear();
  return result;
}

bool PluginHost::Forget(const std::string& modulePath) {
  const bool forgot = m_impl->cache.Forget(modulePath);
  std::string ignored;  // the next save retries
  m_impl->cache.Save(ignored);
  return forgot;
}

const std::string& PluginHost::CacheFile() const { return m_impl->cache.File(); }

}  // namespace ktpluginhost
