// ktprefs's command line: `ktprefs [options] COMMAND [ARGUMENTS]`, options
// anywhere.
#ifndef KTBASE_EXAMPLES_KTPREFS_OPTIONS_H
#define KTBASE_EXAMPLES_KTPREFS_OPTIONS_H

#include <string>
#include <vector>

namespace ktprefs {

struct Options {
  std::string command;                          // list, get, set, remove
  std::vector<std::string> arguments;           // what follows the command
  std::string userFile, projectFile, siteFile;  // empty: the defaults (none for project)
  std::string scope;                            // --scope: user, project or site
  std::string type = "string";                  // --type: bool, int, float, string, list
  char separator = ',';                         // --separator, for --type list
  std::string defaultValue;                     // --default
  bool hasDefault = false;
  bool siteOnly = false;  // --site-only
  bool explain = false;   // --explain
  bool help = false;
  bool version = false;
};

// Parses and checks argv[1..argc-1]: the command, its argument count and the
// options it accepts. On a bad command line returns false with a one-line
// reason in `error`.
bool ParseOptions(int argc, char** argv, Options& options, std::string& error);

std::string UsageText();

}  // namespace ktprefs

#endif  // KTBASE_EXAMPLES_KTPREFS_OPTIONS_H
