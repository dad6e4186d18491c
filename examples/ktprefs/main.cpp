// ktprefs: list, read, explain and edit preference files from the command
// line, through the library's preference manager.
#include <logmanager/log.h>

#include <boost/filesystem.hpp>
#include <exception>
#include <iostream>
#include <set>

#include "commands.h"
#include "options.h"
#include "pref_files.h"
#include "store.h"

namespace {

using ktprefs::Fail;

// Says so when a file the command reads is missing: the library then works
// with an empty scope. A missing default user file is normal and not noted.
void NoteMissingFiles(const ktprefs::Options& options, const ktprefs::Files& files) {
  const std::pair<const char*, const std::string*> named[] = {
      {"user", options.userFile.empty() ? nullptr : &files.user},
      {"project", options.projectFile.empty() ? nullptr : &files.project},
      {"site", &files.site}};
  for (const auto& scope : named) {
    if (scope.second == nullptr) continue;
    const std::string note = ktexamples::FileNote(*scope.second);
    if (!note.empty())
      std::cerr << "ktprefs: note: " << scope.first << " file " << *scope.second << ": " << note
                << std::endl;
  }
}

int Run(const ktprefs::Options& options) {
  ktprefs::Files files;
  files.user = options.userFile.empty() ? ktexamples::DefaultUserFile() : options.userFile;
  files.site = options.siteFile.empty() ? ktexamples::DefaultSiteFile() : options.siteFile;
  files.project = options.projectFile;
  // The manager would silently ignore a scope file equal to the user file.
  if (files.user == files.site || files.project == files.user || files.project == files.site)
    return Fail(ktprefs::kExitUsage, "two scopes cannot share one file (" +
                                         (files.project == files.user ? files.user
                                          : files.user == files.site  ? files.site
                                                                      : files.project) +
                                         ")");
  for (const std::string* file : {&files.user, &files.project, &files.site}) {
    boost::system::error_code code;
    if (!file->empty() && boost::filesystem::is_directory(*file, code))
      return Fail(ktprefs::kExitUsage, *file + " is a folder, not a preference file");
  }
  if (options.command == "list") return ktprefs::RunList(options, files);
  if (options.command == "get") {
    if (!options.explain) NoteMissingFiles(options, files);
    return ktprefs::RunGet(options, files);
  }
  if (options.command == "remove") NoteMissingFiles(options, files);
  if (options.command == "set") return ktprefs::RunSet(options, files);
  return ktprefs::RunRemove(options, files);
}

// The library's log records (e.g. a warning for a malformed line) go to
// standard error once each: ktprefs may load a file several times.
void ShowLogRecordsOnce() {
  // Records begin "Error: " or "Warning : " themselves.
  Log::SetSink([](int, const std::string& record) {
    static std::set<std::string> seen;
    if (seen.insert(record).second) std::cerr << "ktprefs: " << record << std::flush;
  });
}

}  // namespace

int main(int argc, char** argv) {
  ktprefs::Options options;
  std::string error;
  if (!ktprefs::ParseOptions(argc, argv, options, error))
    return Fail(ktprefs::kExitUsage, error + " (try ktprefs --help)");
  if (options.help) {
    std::cout << ktprefs::UsageText();
    return 0;
  }
  if (options.version) {
    std::cout << "ktprefs " KTBASE_VERSION_STRING << std::endl;
    return 0;
  }
  ShowLogRecordsOnce();
  try {
    return Run(options);
  } catch (const std::exception& failure) {
    // E.g. an unusable temporary folder, which the manager cannot do without.
    return Fail(ktprefs::kExitNotFound, failure.what());
  }
}
