#include "json_report.h"

#include <cstdio>

namespace kthost {

namespace {

// Length of the UTF-8 sequence at `at`, or 0 when it is not one.
std::size_t Utf8Length(const std::string& text, std::size_t at) {
  const unsigned char lead = static_cast<unsigned char>(text[at]);
  const std::size_t length = lead < 0x80                   ? 1
                             : lead >= 0xC2 && lead < 0xE0 ? 2
                             : lead >= 0xE0 && lead < 0xF0 ? 3
                             : lead >= 0xF0 && lead < 0xF5 ? 4
                                                           : 0;
  if (length == 0 || at + length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i)
    if ((static_cast<unsigned char>(text[at + i]) & 0xC0) != 0x80) return 0;
  return length;
}

std::string Quote(const std::string& text) {
  std::string out = "\"";
  for (std::size_t at = 0; at < text.size();) {
    const unsigned char c = static_cast<unsigned char>(text[at]);
    const std::size_t length = Utf8Length(text, at);
    if (length == 0) {
      out += "\\ufffd";
      ++at;
      continue;
    }
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", c);
      out += escape;
    } else {
      out.append(text, at, length);
    }
    at += length;
  }
  return out + '"';
}

const char* SourceName(ktpluginhost::VerdictSource source) {
  return source == ktpluginhost::VerdictSource::kProbe   ? "probe"
         : source == ktpluginhost::VerdictSource::kCache ? "cache"
                                                         : "file";
}

const char* LoadName(const ktpluginhost::PluginInfo& plugin, const ktpluginhost::LoadResult& load) {
  if (plugin.verdict != ktpluginhost::Verdict::kGood) return "not loaded";
  return load.outcome == ktpluginhost::LoadResult::kLoaded    ? "loaded"
         : load.outcome == ktpluginhost::LoadResult::kSkipped ? "skipped"
                                                              : "failed";
}

}  // namespace

std::string PluginsJson(const PluginRun& run) {
  const ktpluginhost::ScanResult& scan = run.scan;
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.6f", scan.seconds);
  std::string json = "{\"folder\": " + Quote(run.folder) + ", \"origin\": " + Quote(run.origin) +
                     ", \"cache\": " + Quote(run.cacheFile) + ", \"error\": " + Quote(scan.error) +
                     ", \"seconds\": " + seconds + ", \"probes\": " + std::to_string(scan.probes) +
                     ", \"cached\": " + std::to_string(scan.cached) +
                     ", \"hostCrashedIn\": " + Quote(scan.hostCrashedIn) +
                     ", \"cacheError\": " + Quote(scan.cacheError) + ", \"plugins\": [";
  for (std::size_t i = 0; i < scan.plugins.size(); ++i) {
    const ktpluginhost::PluginInfo& plugin = scan.plugins[i];
    const ktpluginhost::PluginRecord& record = plugin.record;
    const ktpluginhost::LoadResult load =
        i < run.loads.size() ? run.loads[i] : ktpluginhost::LoadResult();
    json += i == 0 ? "\n  " : ",\n  ";
    json += "{\"path\": " + Quote(plugin.path) + ", \"record\": ";
    json += record.present
                ? "{\"interfaceVersion\": " + std::to_string(record.interfaceVersion) +
                      ", \"ktbaseVersion\": " + Quote(record.ktbaseVersion) +
                      ", \"name\": " + Quote(record.name) + ", \"uid\": " + Quote(record.uid) + "}"
                : std::string("null");
    json += std::string(", \"verdict\": \"") + ktpluginhost::VerdictName(plugin.verdict) +
            "\", \"reason\": " + Quote(plugin.reason) + ", \"source\": \"" +
            SourceName(plugin.source) + "\", \"load\": \"" + LoadName(plugin, load) +
            "\", \"loadMessage\": " +
            Quote(load.outcome == ktpluginhost::LoadResult::kLoaded ? "" : load.message) + "}";
  }
  return json + (scan.plugins.empty() ? "]}\n" : "\n]}\n");
}

}  // namespace kthost
