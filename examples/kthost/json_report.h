// kthost --json: the plug-in scan and loads as one JSON document, for tools.
#ifndef KTBASE_EXAMPLES_KTHOST_JSON_REPORT_H
#define KTBASE_EXAMPLES_KTHOST_JSON_REPORT_H

#include <string>

#include "plugins.h"

namespace kthost {

// {"folder", "origin", "cache", "error", "seconds", "probes", "cached",
//  "hostCrashedIn", "cacheError", "plugins": [{"path", "record": {...} | null, "verdict",
//  "reason", "source": "probe" | "cache" | "file", "load": "loaded" | "skipped" | "failed" | "not
//  loaded", "loadMessage"}]}, ending with a line feed. Bytes that are not UTF-8 are
// written as U+FFFD, so the document is always valid JSON.
std::string PluginsJson(const PluginRun& run);

}  // namespace kthost

#endif  // KTBASE_EXAMPLES_KTHOST_JSON_REPORT_H
