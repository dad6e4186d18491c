#include "plugins.h"

#include <cstdio>
#include <map>

namespace kthost {

namespace {

std::string RecordText(const ktpluginhost::PluginInfo& plugin) {
  const ktpluginhost::PluginRecord& record = plugin.record;
  if (!record.present)
    return plugin.verdict == ktpluginhost::Verdict::kInvalid
               ? "none"
               : "none (built before plug-in records)";
  std::string text = "plug-in interface " + std::to_string(record.interfaceVersion) + ", ktbase " +
                     record.ktbaseVersion;
  if (!record.name.empty()) text += ", \"" + record.name + "\"";
  if (!record.uid.empty()) text += " " + record.uid;
  return text;
}

std::string VerdictText(const ktpluginhost::PluginInfo& plugin) {
  std::string text = ktpluginhost::VerdictName(plugin.verdict);
  text += plugin.source == ktpluginhost::VerdictSource::kProbe   ? " (probed now)"
          : plugin.source == ktpluginhost::VerdictSource::kCache ? " (from the cache)"
                                                                 : " (from the file)";
  return plugin.reason.empty() ? text : text + ": " + plugin.reason;
}

std::string Duration(double seconds) {
  char text[32];
  if (seconds < 1.0)
    std::snprintf(text, sizeof text, "%.1f ms", seconds * 1e3);
  else
    std::snprintf(text, sizeof text, "%.2f s", seconds);
  return text;
}

}  // namespace

std::string FileNameOf(const std::string& path) {
  const std::string::size_type slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool RunPlugins(Report& report, const Options& options, RecordingSystem& view, PluginRun& run) {
  report.Section("Plug-ins");
  report.Row("folder", run.folder + " (" + run.origin + ")");
  ktpluginhost::PluginHost::Options hostOptions;
  hostOptions.rescan = options.rescan;
  hostOptions.probeTimeoutMs = options.probeTimeoutMs;
  ktpluginhost::PluginHost host(hostOptions);
  run.cacheFile = host.CacheFile();
  report.Row("cache", run.cacheFile.empty()
                          ? "none (no user data folder)"
                          : run.cacheFile + (options.rescan ? " (--rescan)" : ""));
  if (!options.forget.empty()) {
    run.forgot = host.Forget(options.forget) ? "forgot " + options.forget
                                             : "no verdict on " + options.forget + " to forget";
    report.Row("forget", run.forgot);
  }
  run.scan = host.Scan(run.folder);
  const ktpluginhost::ScanResult& scan = run.scan;
  if (!scan.hostCrashedIn.empty())
    report.Row("blocked",
               scan.hostCrashedIn + ": the host died while loading it at the last start");
  if (!scan.cacheError.empty()) report.Row("cache error", scan.cacheError);
  if (!scan.error.empty()) {
    report.Row("error", scan.error);
    return false;
  }
  report.Row("scan", std::to_string(scan.plugins.size()) + " modules in " + Duration(scan.seconds) +
                         ": " + std::to_string(scan.probes) + " probed, " +
                         std::to_string(scan.cached) + " from the cache");
  if (scan.plugins.empty()) report.Row("modules", "none (no file ending in .so)");

  std::map<std::string, int> counts;
  for (const ktpluginhost::PluginInfo& plugin : scan.plugins) {
    const std::string name = FileNameOf(plugin.path);
    report.Row("module", name);
    report.Row("record", RecordText(plugin), 1);
    report.Row("verdict", VerdictText(plugin), 1);
    ktpluginhost::LoadResult load;
    if (plugin.verdict != ktpluginhost::Verdict::kGood) {
      load.message = "not loaded";
      ++counts[ktpluginhost::VerdictName(plugin.verdict)];
    } else {
      // The entry's own notes follow; a crash in it leaves these rows shown.
      report.Flush();
      view.SetOwner(name);
      load = host.Load(plugin, &view);
      switch (load.outcome) {
        case ktpluginhost::LoadResult::kLoaded:
          report.Row("loaded", "plug-in interface " + std::to_string(load.version), 1);
          ++counts["loaded"];
          break;
        case ktpluginhost::LoadResult::kSkipped:
          report.Row("skipped", load.message, 1);
          ++counts["skipped"];
          break;
        case ktpluginhost::LoadResult::kFailed:
          report.Row("failed", load.message, 1);
          ++counts["failed"];
          break;
      }
    }
    run.loads.push_back(load);
  }
  std::string summary = std::to_string(counts["loaded"]) + " loaded";
  for (const char* kind :
       {"skipped", "refused", "invalid", "failed", "crashed", "hung", "host-crashed"}) {
    if (counts[kind] != 0) summary += ", " + std::to_string(counts[kind]) + " " + kind;
  }
  report.Row("summary", summary);
  return counts["loaded"] + counts["skipped"] == static_cast<int>(scan.plugins.size());
}

}  // namespace kthost
