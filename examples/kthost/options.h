// kthost's command line.
#ifndef KTBASE_EXAMPLES_KTHOST_OPTIONS_H
#define KTBASE_EXAMPLES_KTHOST_OPTIONS_H

#include <string>

namespace kthost {

struct Options {
  std::string pluginsDir;      // --plugins; empty: the preference Plugins.Path
  std::string userFile;        // --user; empty: the library's default
  std::string projectFile;     // --project; empty: no project scope
  std::string siteFile;        // --site; empty: <root>/site.prefs
  std::string forget;          // --forget: drop the cached verdict on this module first
  int probeTimeoutMs = 10000;  // --probe-timeout, in seconds on the command line
  bool strict = false;         // any module that is not loaded is an error
  bool rescan = false;         // probe every module again, whatever the cache says
  bool json = false;           // the plug-in scan as JSON on standard output, nothing else
  bool dcc = false;            // passed to qrnInitSystem as isDCCPlugin
  bool help = false;
  bool version = false;
};

// Fills `options` from argv[1..argc-1]. On a bad command line returns false
// with a one-line reason in `error`.
bool ParseOptions(int argc, char** argv, Options& options, std::string& error);

// The --help text.
std::string UsageText();

}  // namespace kthost

#endif  // KTBASE_EXAMPLES_KTHOST_OPTIONS_H
