#include "commands.h"

#include <ktbase/ktappdatapath.h>
#include <ktbase/ktpaths.h>

#include <iostream>
#include <sstream>

#include "pref_files.h"

namespace ktprefs {

namespace {

constexpr Scope kScopes[] = {IKTPrefManager::ePrefUser, IKTPrefManager::ePrefProject,
                             IKTPrefManager::ePrefSite};

Scope ScopeFromName(const std::string& name) {
  return name == "user"      ? IKTPrefManager::ePrefUser
         : name == "project" ? IKTPrefManager::ePrefProject
                             : IKTPrefManager::ePrefSite;
}

// "FILE" or "FILE (missing: empty scope)"; "no file (use --project FILE)".
std::string DescribeFile(const Files& files, Scope scope) {
  const std::string& file = files.Of(scope);
  if (file.empty()) return "no file (use --project FILE)";
  const std::string note = ktexamples::FileNote(file);
  return note.empty() ? file : file + " (" + note + ")";
}

// ", missing: empty scope" and the like; "" for a readable file.
std::string Suffix(const std::string& file) {
  const std::string note = ktexamples::FileNote(file);
  return note.empty() ? note : ", " + note;
}

// Whether the library expands tokens in the value of `key`, and why.
bool Expands(const std::string& key, std::string& why) {
  const std::string suffix = ".Path";
  if (key.size() >= suffix.size() &&
      key.compare(key.size() - suffix.size(), suffix.size(), suffix) == 0) {
    why = "the key ends in \".Path\"";
    return true;
  }
  if (key.size() == 4) {
    why = "the library expands every 4-character key too";
    return true;
  }
  why = "only values of keys ending in \".Path\" are expanded";
  return false;
}

// Strict number parsing for typed set and --default: the whole text.
template <typename T>
bool ParseNumber(const std::string& text, T& value) {
  std::istringstream in(text);
  in >> value;
  return !in.fail() && in.eof() && !text.empty();
}

bool ParseBool(const std::string& text, bool& value) {
  if (text == "true" || text == "1") return value = true, true;
  if (text == "false" || text == "0") return value = false, true;
  return false;
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> pieces;
  std::string piece;
  std::istringstream in(text);
  while (std::getline(in, piece, separator)) pieces.push_back(piece);
  if (text.empty() || text.back() == separator) pieces.emplace_back();
  return pieces;
}

void Row(const std::string& label, const std::string& value) {
  std::cout << label << std::string(label.size() < 11 ? 11 - label.size() : 1, ' ') << value
            << '\n';
}

// One line per typed read; for string and list as the getters give them.
// Returns false (after Fail) when a typed read has no value to show.
int PrintTyped(const Options& options, Store& store, const std::string& key, bool found) {
  IKTPrefManager& prefs = store.Manager();
  const std::string& type = options.type;
  if (type == "string") {
    std::string value;
    prefs.GetPref(key, options.defaultValue, value, options.siteOnly);
    std::cout << value << '\n';
    return 0;
  }
  if (type == "list") {
    std::vector<std::string> values;
    const std::vector<std::string> fallback = options.hasDefault
                                                  ? Split(options.defaultValue, options.separator)
                                                  : std::vector<std::string>();
    prefs.GetPref(key, options.separator, fallback, values, options.siteOnly);
    for (const std::string& value : values) std::cout << value << '\n';
    return 0;
  }
  std::string text;
  prefs.GetPref(key, std::string(), text, options.siteOnly);
  if (found && text.empty() && !options.hasDefault)
    return Fail(kExitNotFound,
                key + " is empty: " + type + " reads give the caller's default (use --default)");
  const std::string& fallback = options.defaultValue;
  if (type == "bool") {
    bool value = false;
    if (options.hasDefault && !ParseBool(fallback, value))
      return Fail(kExitUsage, "--default '" + fallback + "' is not a bool (true, false, 1, 0)");
    std::cout << (prefs.GetPref(key, value, value, options.siteOnly) ? "true" : "false") << '\n';
  } else if (type == "int") {
    int value = 0;
    if (options.hasDefault && !ParseNumber(fallback, value))
      return Fail(kExitUsage, "--default '" + fallback + "' is not an int");
    std::cout << prefs.GetPref(key, value, value, options.siteOnly) << '\n';
  } else {
    float value = 0;
    if (options.hasDefault && !ParseNumber(fallback, value))
      return Fail(kExitUsage, "--default '" + fallback + "' is not a float");
    std::cout << prefs.GetPref(key, value, value, options.siteOnly) << '\n';
  }
  return 0;
}

int Explain(const Options& options, const Files& files, Store& all, const std::string& key) {
  Row("key", key);
  Row("lookup", options.siteOnly ? "the site scope only (--site-only)"
                                 : "user, then project, then site; the first scope that holds "
                                   "the key wins, even when its value is empty");
  const std::string* winner = nullptr;
  std::string winnerScope;
  Entries entries[3];
  for (Scope scope : kScopes) {
    const std::string name = ktexamples::ScopeName(scope);
    const std::string* raw = nullptr;
    if (!files.Of(scope).empty()) {
      Store one(files, scope);
      entries[scope] = one.RawEntries();
      raw = FindEntry(entries[scope], key);
    }
    std::string line = files.Of(scope).empty()
                           ? DescribeFile(files, scope)
                           : (raw != nullptr ? "\"" + *raw + "\"" : std::string("not set")) +
                                 " (in " + files.Of(scope) + Suffix(files.Of(scope)) + ")";
    const bool counts = !options.siteOnly || scope == IKTPrefManager::ePrefSite;
    if (raw != nullptr && counts && winner == nullptr) {
      winner = raw;
      winnerScope = name;
      line += "  <- wins";
    }
    Row(name, line);
  }
  if (winner == nullptr) {
    Row("value", "not set: readers get their default");
    return kExitNotFound;
  }
  Row("raw text", "\"" + *winner + "\" (from the " + winnerScope + " scope)");
  std::string why;
  if (Expands(key, why)) {
    CKTAppDataPath appData("", CKTAppDataPath::eAppDataUser);
    Row("expansion", "yes: " + why + "; <ROOT_DIR> = " + KTGetRootDir() +
                         ", <APPDATA_DIR> = " + appData.string());
  } else {
    Row("expansion", "no: " + why);
  }
  std::string value;
  all.Manager().GetPref(key, std::string(), value, options.siteOnly);
  Row("value", "\"" + value + "\"");
  if (options.type != "string") {
    std::cout << "as " << options.type << std::string(8 - options.type.size(), ' ');
    std::cout.flush();
    Options typed = options;
    typed.hasDefault = true;
    typed.defaultValue = options.type == "bool" ? "false" : options.type == "list" ? "" : "0";
    if (options.type != "list" && value.empty()) {
      std::cout << "the caller's default (the value is empty)\n";
    } else if (options.type == "list") {
      std::vector<std::string> values;
      all.Manager().GetPref(key, options.separator, {}, values, options.siteOnly);
      std::string joined;
      for (const std::string& piece : values)
        joined += (joined.empty() ? "\"" : ", \"") + piece + "\"";
      std::cout << values.size() << (values.size() == 1 ? " element: " : " elements: ") << joined
                << '\n';
    } else {
      PrintTyped(typed, all, key, true);
    }
  }
  return 0;
}

// Rejects text the file format cannot keep; empty when `text` is fine.
std::string Unstorable(const std::string& what, const std::string& text, bool key) {
  if (text.find('\n') != std::string::npos) return what + " must not hold a line break";
  if (key && text.find('=') != std::string::npos) return what + " must not hold '='";
  if (!text.empty() && (text.front() == ' ' || text.back() == ' '))
    return what + " must not begin or end with a space (the file format drops them)";
  return "";
}

}  // namespace

int Fail(int status, const std::string& message) {
  std::cerr << "ktprefs: " << message << std::endl;
  return status;
}

int RunList(const Options& options, const Files& files) {
  bool first = true;
  for (Scope scope : kScopes) {
    if (!options.scope.empty() && ScopeFromName(options.scope) != scope) continue;
    if (!first) std::cout << '\n';
    first = false;
    std::cout << '[' << ktexamples::ScopeName(scope) << "] " << DescribeFile(files, scope) << '\n';
    if (files.Of(scope).empty()) continue;
    Store store(files, scope);
    for (const auto& entry : store.RawEntries())
      std::cout << entry.first << '=' << entry.second << '\n';
  }
  return 0;
}

int RunGet(const Options& options, const Files& files) {
  const std::string& key = options.arguments[0];
  Store all(files, IKTPrefManager::ePrefAll);
  if (options.explain) return Explain(options, files, all, key);
  const bool found = all.Has(key, options.siteOnly);
  if (!found && !options.hasDefault)
    return Fail(kExitNotFound,
                key + " is not set in " + (options.siteOnly ? "the site scope" : "any scope"));
  return PrintTyped(options, all, key, found);
}

int RunSet(const Options& options, const Files& files) {
  const std::string& key = options.arguments[0];
  const Scope scope = ScopeFromName(options.scope);
  if (files.Of(scope).empty()) return Fail(kExitUsage, "the project scope needs --project FILE");
  std::string problem = Unstorable("the key", key, true);
  const std::vector<std::string> values(options.arguments.begin() + 1, options.arguments.end());
  for (const std::string& value : values) {
    if (problem.empty()) problem = Unstorable("the value", value, false);
    if (problem.empty() && options.type == "list" &&
        value.find(options.separator) != std::string::npos)
      problem = "the element '" + value + "' holds the separator '" + options.separator + "'";
  }
  if (!problem.empty()) return Fail(kExitUsage, problem);

  Store store(files, scope);
  IKTPrefManager& prefs = store.Manager();
  const std::string& text = values[0];
  if (options.type == "bool") {
    bool value = false;
    if (!ParseBool(text, value))
      return Fail(kExitUsage, "'" + text + "' is not a bool (true, false, 1, 0)");
    prefs.SetPref(key, value, scope);
  } else if (options.type == "int") {
    int value = 0;
    if (!ParseNumber(text, value)) return Fail(kExitUsage, "'" + text + "' is not an int");
    prefs.SetPref(key, value, scope);
  } else if (options.type == "float") {
    float value = 0;
    if (!ParseNumber(text, value)) return Fail(kExitUsage, "'" + text + "' is not a float");
    prefs.SetPref(key, value, scope);
  } else if (options.type == "list") {
    prefs.SetPref(key, values, options.separator, scope);
  } else {
    prefs.SetPref(key, text, scope);
  }
  std::string error;
  if (!store.Save(key, error)) return Fail(kExitNotFound, error);
  const Entries saved = store.RawEntries();
  const std::string* stored = FindEntry(saved, key);
  std::cout << key << '=' << (stored != nullptr ? *stored : text) << "  saved in the "
            << options.scope << " scope (" << files.Of(scope) << ")\n";
  return 0;
}

int RunRemove(const Options& options, const Files& files) {
  const std::string& key = options.arguments[0];
  Scope scope = IKTPrefManager::ePrefAll;
  if (!options.scope.empty()) {
    scope = ScopeFromName(options.scope);
    if (files.Of(scope).empty()) return Fail(kExitUsage, "the project scope needs --project FILE");
  } else {
    // The first scope that holds the key, in lookup order: the one the
    // library's RemovePref blanks.
    for (Scope candidate : kScopes) {
      if (files.Of(candidate).empty()) continue;
      Store one(files, candidate);
      if (one.Has(key)) {
        scope = candidate;
        break;
      }
    }
    if (scope == IKTPrefManager::ePrefAll)
      return Fail(kExitNotFound, key + " is not set in any scope");
  }
  const std::string name = ktexamples::ScopeName(scope);
  Store store(files, scope);
  if (!store.Has(key)) return Fail(kExitNotFound, key + " is not set in the " + name + " scope");
  store.Manager().RemovePref(key);
  std::string error;
  if (!store.Save(key, error)) return Fail(kExitNotFound, error);
  std::cout << key << " blanked in the " << name << " scope (" << files.Of(scope)
            << "); the empty entry still hides the scopes below it\n";
  return 0;
}

}  // namespace ktprefs
