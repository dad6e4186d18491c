// kthost: an example host of the ktbase plug-in framework. It does what a
// real host does, in order, and reports each step on standard output:
//   qrnInitSystem -> preferences -> plug-ins -> RunStartupFactories ->
//   qrnExitSystem (Term() and destruction) -> preference manager destroyed.
#include <ktbase/ktbase.h>
#include <ktbase/ktpaths.h>
#include <ktbase/ktplugin.h>
#include <ktbase/ktprefmanager.h>

#include <boost/filesystem.hpp>
#include <exception>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "journal.h"
#include "json_report.h"
#include "options.h"
#include "plugins.h"
#include "pref_files.h"
#include "recording_system.h"
#include "report.h"

namespace {

using kthost::Report;

// Owner of what startup factories register (they run outside any entry).
const char* const kStartupOwner = "startup";

struct PrefsDeleter {
  void operator()(IKTPrefManager* prefs) const { delete prefs; }
};
using PrefsPtr = std::unique_ptr<IKTPrefManager, PrefsDeleter>;

std::string OrNone(const std::string& text, const char* none) { return text.empty() ? none : text; }

void ReportSystem(Report& report, qrn::ISystem& system) {
  report.Section("System");
  std::vector<std::string> arguments;
  system.GetApplicationArguments(arguments);
  std::string joined;
  for (const std::string& argument : arguments) joined += (joined.empty() ? "" : " ") + argument;
  auto* base = dynamic_cast<qrn::IBase*>(&system);
  report.Row("system", base != nullptr ? base->GetClsName() : "(no class name)");
  report.Row("DCC plug-in", system.IsDCCPlugin() ? "yes" : "no");
  report.Row("arguments", joined);
  report.Row("root directory", OrNone(KTGetRootDir(), "(unknown: libktbase.so not found)"));
  report.Row("bin directory", OrNone(KTGetBinDir(), "(unknown)"));
  const std::string db = KTGetDBDir();
  boost::system::error_code code;
  report.Row("db directory", db + (boost::filesystem::is_directory(db, code) ? "" : " (missing)"));
}

// Creates the manager, points it at the files the options name, loads the
// scopes and reports them. Null (after a report line) when it cannot be made.
PrefsPtr LoadPreferences(Report& report, const kthost::Options& options) {
  report.Section("Preferences");
  PrefsPtr prefs;
  std::string userFile = options.userFile;
  std::string siteFile = options.siteFile;
  try {
    prefs.reset(IKTPrefManager::Create());
    if (userFile.empty()) userFile = ktexamples::DefaultUserFile();
    if (siteFile.empty()) siteFile = ktexamples::DefaultSiteFile();
  } catch (const std::exception& failure) {
    report.Row("error", std::string("cannot create the preference manager: ") + failure.what());
    return nullptr;
  }
  // The user file first: the manager ignores a scope file equal to it.
  if (!options.userFile.empty()) prefs->Configure(options.userFile, IKTPrefManager::ePrefUser);
  if (!options.projectFile.empty())
    prefs->Configure(options.projectFile, IKTPrefManager::ePrefProject);
  if (!options.siteFile.empty()) prefs->Configure(options.siteFile, IKTPrefManager::ePrefSite);

  prefs->LoadFromDisk(IKTPrefManager::ePrefSite);
  prefs->LoadFromDisk(IKTPrefManager::ePrefUser);
  if (!options.projectFile.empty()) prefs->LoadFromDisk(IKTPrefManager::ePrefProject);

  const std::pair<const char*, std::string> scopes[] = {
      {"user scope", userFile}, {"project scope", options.projectFile}, {"site scope", siteFile}};
  for (const auto& scope : scopes) {
    if (scope.second.empty()) {
      report.Row(scope.first, "not used (--project FILE)");
      continue;
    }
    const std::string note = ktexamples::FileNote(scope.second);
    report.Row(scope.first, scope.second + (note.empty() ? "" : " (" + note + ")"));
  }
  report.Row("lookup order", "user, then project, then site");
  return prefs;
}

// The folder to load plug-ins from, and where that choice came from.
std::string PluginFolder(const kthost::Options& options, IKTPrefManager* prefs,
                         std::string& origin) {
  if (!options.pluginsDir.empty()) {
    origin = "--plugins";
    return options.pluginsDir;
  }
  std::string folder;
  // Missing sentinel: a value read from a file never holds a line feed.
  if (prefs != nullptr) prefs->GetPref("Plugins.Path", std::string("\n"), folder, false);
  if (!folder.empty() && folder != "\n") {
    origin = "preference Plugins.Path, tokens expanded";
    return folder;
  }
  origin = "default <ROOT_DIR>/plugins";
  boost::filesystem::path fallback(KTGetRootDir());
  fallback /= "plugins";
  return fallback.string();
}

// Lists the registrations made by the plug-ins' entries, grouped by module.
void ReportEntryRegistrations(Report& report, const kthost::RecordingSystem& view) {
  std::string owner;
  bool any = false;
  for (const kthost::Registration& record : view.Registrations()) {
    if (record.owner == kStartupOwner) continue;
    if (record.owner != owner) {
      owner = record.owner;
      report.Row(owner, "");
    }
    report.Row(record.kind, record.name, 1);
    any = true;
  }
  if (!any) report.Row("none", "");
}

// Runs the startup factories and lists what they registered.
bool RunStartup(Report& report, qrn::ISystem& system, kthost::RecordingSystem& view) {
  report.Row("running", "startup factories, in registration order");
  view.SetOwner(kStartupOwner);
  bool ok = true;
  try {
    system.RunStartupFactories();
  } catch (const std::exception& failure) {
    report.Row("error", std::string("a startup factory threw: ") + failure.what());
    ok = false;
  } catch (...) {
    report.Row("error", "a startup factory threw a non-standard exception");
    ok = false;
  }
  bool any = false;
  for (const kthost::Registration& record : view.Registrations()) {
    if (record.owner != kStartupOwner) continue;
    if (!any) report.Row("registered", "during startup:");
    report.Row(record.kind, record.name, 1);
    any = true;
  }
  if (!any) report.Row("registered", "nothing during startup");
  return ok;
}

int RunHost(const kthost::Options& options, int argc, char** argv) {
  // --json: the report goes nowhere, the document to standard output.
  std::ostream nowhere(nullptr);
  Report report(options.json ? nowhere : std::cout);
  report.Line("kthost " KTBASE_VERSION_STRING " - example host of the ktbase plug-in framework");
  bool problems = false;

  qrn::ISystem* system = qrnInitSystem(options.dcc, argc, argv);
  ReportSystem(report, *system);

  PrefsPtr prefs = LoadPreferences(report, options);
  if (!prefs) problems = true;

  // Published before any entry runs; both outlive the system.
  kthost::HostJournal journal(report);
  system->SetNamedObject(ktplugin::kJournalName, &journal);
  if (prefs) system->SetNamedObject(ktplugin::kPrefsName, prefs.get());

  kthost::RecordingSystem view(*system);
  kthost::PluginRun plugins;
  plugins.folder = PluginFolder(options, prefs.get(), plugins.origin);
  if (!kthost::RunPlugins(report, options, view, plugins)) problems = true;

  report.Section("Registrations");
  ReportEntryRegistrations(report, view);

  report.Section("Startup");
  if (!RunStartup(report, *system, view)) problems = true;

  report.Section("Shutdown");
  report.Row("order", "Term() on each singleton by name, then owned objects as registered");
  qrnExitSystem();
  report.Row("system", "exited; plug-in modules stay loaded until the process ends");
  // After the system: singletons may use the preferences until their Term().
  // Destroying the manager saves the user scope.
  prefs.reset();
  report.Row("preferences", "closed");

  if (options.json) std::cout << kthost::PluginsJson(plugins) << std::flush;
  if (problems) {
    report.Line("");
    report.Line(options.strict ? "kthost: finished with problems (--strict): exit status 1"
                               : "kthost: finished with problems (see above)");
  }
  return problems && options.strict ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  kthost::Options options;
  std::string error;
  if (!kthost::ParseOptions(argc, argv, options, error)) {
    std::cerr << "kthost: " << error << " (try kthost --help)" << std::endl;
    return 2;
  }
  if (options.help) {
    std::cout << kthost::UsageText();
    return 0;
  }
  if (options.version) {
    std::cout << "kthost " KTBASE_VERSION_STRING " (plug-in interface "
              << ktplugin::kInterfaceVersion << ")" << std::endl;
    return 0;
  }
  return RunHost(options, argc, argv);
}
