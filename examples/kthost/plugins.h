// kthost's plug-ins, through the plug-in host kit: scan the folder (records
// and verdicts, probing new modules), load the good ones, report both.
#ifndef KTBASE_EXAMPLES_KTHOST_PLUGINS_H
#define KTBASE_EXAMPLES_KTHOST_PLUGINS_H

#include <ktbase/ktpluginhost.h>

#include <string>
#include <vector>

#include "options.h"
#include "recording_system.h"
#include "report.h"

namespace kthost {

struct PluginRun {
  std::string folder;
  std::string origin;     // where the folder came from
  std::string cacheFile;  // empty: no cache
  std::string forgot;     // what --forget did, for the report
  ktpluginhost::ScanResult scan;
  // One per scanned module, in the same order; modules not judged good are
  // kFailed with "not loaded".
  std::vector<ktpluginhost::LoadResult> loads;
};

// Scans `run.folder`, loads the good modules with the recording view (each
// under its file name as owner) and reports each step. Returns false when
// anything was not loaded or the folder could not be read.
bool RunPlugins(Report& report, const Options& options, RecordingSystem& view, PluginRun& run);

// "libexample.so" for "/a/b/libexample.so".
std::string FileNameOf(const std::string& path);

}  // namespace kthost

#endif  // KTBASE_EXAMPLES_KTHOST_PLUGINS_H
