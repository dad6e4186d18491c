#include "options.h"

#include <ktbase/ktplugin.h>

#include <cmath>
#include <cstdlib>

namespace kthost {

namespace {

// Takes the value of `--name VALUE` or `--name=VALUE` when argv[index]
// names `name`; advances `index` past a separate value.
bool TakeValue(int argc, char** argv, int& index, const std::string& name, std::string& value,
               bool& matched, std::string& error) {
  const std::string arg = argv[index];
  matched = false;
  if (arg == name) {
    matched = true;
    if (index + 1 >= argc) {
      error = "option " + name + " needs a value";
      return false;
    }
    value = argv[++index];
  } else if (arg.compare(0, name.size() + 1, name + "=") == 0) {
    matched = true;
    value = arg.substr(name.size() + 1);
  } else {
    return true;
  }
  if (value.empty()) {
    error = "option " + name + " needs a non-empty value";
    return false;
  }
  return true;
}

}  // namespace

bool ParseOptions(int argc, char** argv, Options& options, std::string& error) {
  struct ValueOption {
    const char* name;
    std::string* target;
  };
  const ValueOption valueOptions[] = {{"--plugins", &options.pluginsDir},
                                      {"--user", &options.userFile},
                                      {"--project", &options.projectFile},
                                      {"--site", &options.siteFile},
                                      {"--forget", &options.forget}};
  for (int index = 1; index < argc; ++index) {
    const std::string arg = argv[index];
    if (arg == "-h" || arg == "--help") {
      options.help = true;
      continue;
    }
    if (arg == "--version") {
      options.version = true;
      continue;
    }
    if (arg == "--strict") {
      options.strict = true;
      continue;
    }
    if (arg == "--dcc") {
      options.dcc = true;
      continue;
    }
    if (arg == "--rescan" || arg == "--json") {
      (arg == "--json" ? options.json : options.rescan) = true;
      continue;
    }
    bool matched = false;
    std::string seconds;
    if (!TakeValue(argc, argv, index, "--probe-timeout", seconds, matched, error)) return false;
    if (matched) {
      char* end = nullptr;
      const double value = std::strtod(seconds.c_str(), &end);
      if (*end != '\0' || !(value >= 0.1 && value <= 3600)) {
        error = "option --probe-timeout needs a number of seconds from 0.1 to 3600";
        return false;
      }
      options.probeTimeoutMs = static_cast<int>(std::lround(value * 1000));
      continue;
    }
    for (const ValueOption& option : valueOptions) {
      if (!TakeValue(argc, argv, index, option.name, *option.target, matched, error)) return false;
      if (matched) break;
    }
    if (matched) continue;
    error = (arg.compare(0, 1, "-") == 0 ? "unknown option " : "unexpected argument ") + arg;
    return false;
  }
  return true;
}

std::string UsageText() {
  return "Usage: kthost [options]\n"
         "\n"
         "Example host of the ktbase plug-in framework. It initialises the system,\n"
         "loads the preferences, loads every plug-in module (*.so) of one folder,\n"
         "runs the startup factories, shuts the system down and reports each step\n"
         "on standard output. The library's own log records go to standard error.\n"
         "\n"
         "Options:\n"
         "  --plugins DIR   load the plug-ins in DIR (default: the preference\n"
         "                  Plugins.Path, else <ROOT_DIR>/plugins)\n"
         "  --strict        exit with status 1 when the folder is missing, a module\n"
         "                  cannot be loaded or is refused, or a plug-in throws\n"
         "  --user FILE     user preference file (default:\n"
         "                  <temporary folder>/Norvex/Tessel/user.prefs)\n"
         "  --project FILE  also read this project preference file\n"
         "  --site FILE     site preference file (default: <ROOT_DIR>/site.prefs)\n"
         "  --rescan        probe every plug-in again, forgetting every cached verdict\n"
         "  --forget FILE   forget the cached verdict on one plug-in module first\n"
         "  --probe-timeout SECONDS\n"
         "                  time a new plug-in may take in the probe (default 10)\n"
         "  --json          print the plug-ins (records, verdicts, loads, scan time)\n"
         "                  as one JSON document instead of the report\n"
         "  --dcc           tell the system it runs inside a content-creation\n"
         "                  application (qrnInitSystem's isDCCPlugin flag)\n"
         "  -h, --help      show this text and exit\n"
         "  --version       show the version and exit\n"
         "\n"
         "<ROOT_DIR> is the folder two levels above libktbase.so. A plug-in exports\n"
         "KtPluginInterfaceVersion() (must return " +
         std::to_string(ktplugin::kInterfaceVersion) +
         ") and KtPluginEntry(qrn::ISystem*);\n"
         "see <ktbase/ktplugin.h>. Plug-ins are never unloaded while the system lives.\n"
         "\n"
         "A module not seen before (or changed) is first loaded by ktplugin-probe in a\n"
         "child process; a module that crashes, hangs, throws or is refused there is\n"
         "never loaded here. Verdicts are cached in the user data folder\n"
         "(<temporary folder>/Norvex/Tessel), so the next start probes nothing new.\n"
         "\n"
         "Exit status: 0 on success, 1 on a failure (with --strict, also for a\n"
         "module that was not loaded), 2 on a bad command line.\n";
}

}  // namespace kthost
