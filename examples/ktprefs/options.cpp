#include "options.h"

#include <algorithm>
#include <set>

namespace ktprefs {

namespace {

// Options that take a value, and where the value goes.
struct ValueOption {
  const char* name;
  std::string* target;
};

bool CheckCommand(const Options& options, const std::set<std::string>& used, std::string& error) {
  struct Rule {
    const char* command;
    std::size_t minArgs, maxArgs;
    std::set<std::string> allowed;  // beyond the file options
  };
  const Rule rules[] = {
      {"list", 0, 0, {"--scope"}},
      {"get", 1, 1, {"--type", "--separator", "--site-only", "--default", "--explain"}},
      {"set", 2, static_cast<std::size_t>(-1), {"--scope", "--type", "--separator"}},
      {"remove", 1, 1, {"--scope"}},
  };
  const Rule* rule = nullptr;
  for (const Rule& candidate : rules)
    if (options.command == candidate.command) rule = &candidate;
  if (rule == nullptr) {
    error = "unknown command '" + options.command + "' (list, get, set, remove)";
    return false;
  }
  const std::size_t count = options.arguments.size();
  const bool list = options.type == "list";
  const std::size_t maxArgs = options.command == std::string("set") && !list ? 2 : rule->maxArgs;
  if (count < rule->minArgs) {
    static const char* const kWhat[] = {"", "a KEY", "a KEY and a VALUE"};
    error = options.command + " needs " + kWhat[rule->minArgs];
    return false;
  }
  if (count > maxArgs) {
    error = "too many arguments for " + options.command + ": '" + options.arguments[maxArgs] + "'";
    return false;
  }
  for (const std::string& option : used) {
    if (option == "--user" || option == "--project" || option == "--site") continue;
    if (rule->allowed.count(option) == 0) {
      error = "option " + option + " does not apply to " + options.command;
      return false;
    }
  }
  if (options.command == "set" && options.scope.empty()) {
    error = "set needs --scope user|project|site";
    return false;
  }
  if (options.command == "get" && options.hasDefault && options.explain) {
    error = "--default does not apply to get --explain";
    return false;
  }
  if (!options.arguments.empty() && options.arguments[0].empty()) {
    error = "the KEY must not be empty";
    return false;
  }
  return true;
}

}  // namespace

bool ParseOptions(int argc, char** argv, Options& options, std::string& error) {
  std::string separator;
  const ValueOption valueOptions[] = {
      {"--user", &options.userFile},       {"--project", &options.projectFile},
      {"--site", &options.siteFile},       {"--scope", &options.scope},
      {"--type", &options.type},           {"--separator", &separator},
      {"--default", &options.defaultValue}};
  std::set<std::string> used;
  bool optionsEnded = false;
  for (int index = 1; index < argc; ++index) {
    const std::string arg = argv[index];
    if (optionsEnded || arg.size() < 2 || arg[0] != '-' || (arg[1] != '-' && arg != "-h")) {
      // Positional (a lone "-" or "-5" is a value, not an option).
      if (options.command.empty())
        options.command = arg;
      else
        options.arguments.push_back(arg);
      continue;
    }
    if (arg == "--") {
      optionsEnded = true;
      continue;
    }
    if (arg == "-h" || arg == "--help") {
      options.help = true;
      continue;
    }
    const std::pair<const char*, bool*> flags[] = {{"--version", &options.version},
                                                   {"--site-only", &options.siteOnly},
                                                   {"--explain", &options.explain}};
    bool matched = false;
    for (const auto& flag : flags) {
      if (arg == flag.first) {
        *flag.second = matched = true;
        used.insert(flag.first);
      }
    }
    if (matched) continue;
    for (const ValueOption& option : valueOptions) {
      const std::string name = option.name;
      if (arg == name) {
        if (index + 1 >= argc) {
          error = "option " + name + " needs a value";
          return false;
        }
        *option.target = argv[++index];
      } else if (arg.compare(0, name.size() + 1, name + "=") == 0) {
        *option.target = arg.substr(name.size() + 1);
      } else {
        continue;
      }
      matched = true;
      used.insert(name);
      break;
    }
    if (!matched) {
      error = "unknown option " + arg;
      return false;
    }
  }
  if (options.help || options.version) return true;

  options.hasDefault = used.count("--default") != 0;
  if (used.count("--separator") != 0) {
    if (separator.size() != 1) {
      error = "--separator takes exactly one character";
      return false;
    }
    options.separator = separator[0];
  }
  for (const char* file : {"--user", "--project", "--site"}) {
    if (used.count(file) != 0 && (file == std::string("--user")      ? options.userFile
                                  : file == std::string("--project") ? options.projectFile
                                                                     : options.siteFile)
                                     .empty()) {
      error = std::string("option ") + file + " needs a file name";
      return false;
    }
  }
  static const char* const kScopes[] = {"user", "project", "site"};
  if (!options.scope.empty() &&
      std::find(std::begin(kScopes), std::end(kScopes), options.scope) == std::end(kScopes)) {
    error = "unknown scope '" + options.scope + "' (user, project, site)";
    return false;
  }
  static const char* const kTypes[] = {"bool", "int", "float", "string", "list"};
  if (std::find(std::begin(kTypes), std::end(kTypes), options.type) == std::end(kTypes)) {
    error = "unknown type '" + options.type + "' (bool, int, float, string, list)";
    return false;
  }
  if (options.command.empty()) {
    error = "no command given (list, get, set, remove)";
    return false;
  }
  return CheckCommand(options, used, error);
}

std::string UsageText() {
  return "Usage: ktprefs [options] COMMAND [ARGUMENTS]\n"
         "\n"
         "Reads and edits the preference files of a ktbase installation through the\n"
         "library's own preference manager, so it sees exactly what programs see.\n"
         "\n"
         "Commands:\n"
         "  list                 print every scope's entries as key=value lines\n"
         "                       (--scope S: that scope only); values are raw text\n"
         "  get KEY              print the value programs read for KEY (lookup order:\n"
         "                       user, then project, then site; the first scope that\n"
         "                       holds the key wins, even when its value is empty)\n"
         "      --type T         read it as bool, int, float, string (default) or list\n"
         "      --separator C    list separator (default ',')\n"
         "      --site-only      read the site scope alone\n"
         "      --default V      print V when the key is not set (or, for bool, int\n"
         "                       and float, when it is empty) instead of failing\n"
         "      --explain        show the raw text in every scope, which scope won and\n"
         "                       the value after expanding <ROOT_DIR> and <APPDATA_DIR>\n"
         "  set KEY VALUE        store VALUE in the scope --scope user|project|site\n"
         "                       (required) and rewrite that scope's file\n"
         "      --type T         check VALUE as bool, int or float and store it as the\n"
         "                       library formats it; with list, every argument after\n"
         "                       KEY is an element, joined with --separator\n"
         "  remove KEY           blank KEY in the first scope that holds it (or in\n"
         "                       --scope S). As in the library the entry stays, empty,\n"
         "                       and still hides the scopes below it.\n"
         "\n"
         "Files (defaults are the library's):\n"
         "  --user FILE          default <temporary folder>/Norvex/Tessel/user.prefs\n"
         "  --project FILE       no default: the project scope is empty without it\n"
         "  --site FILE          default <ROOT_DIR>/site.prefs (<ROOT_DIR> is two\n"
         "                       levels above libktbase.so)\n"
         "A missing file is an empty scope, as in the library; list and --explain say\n"
         "so. Reading commands never write a file; set and remove rewrite one file,\n"
         "with its entries in key order.\n"
         "\n"
         "  -h, --help           show this text      --version   show the version\n"
         "\n"
         "Exit status: 0 on success, 1 when the key is not set or a file cannot be\n"
         "written, 2 on a bad command line.\n";
}

}  // namespace ktprefs
