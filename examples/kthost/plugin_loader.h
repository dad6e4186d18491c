// Finding and loading plug-in modules.
#ifndef KTBASE_EXAMPLES_KTHOST_PLUGIN_LOADER_H
#define KTBASE_EXAMPLES_KTHOST_PLUGIN_LOADER_H

#include <string>
#include <utility>
#include <vector>

#include "recording_system.h"

namespace kthost {

// Collects the modules (files ending in ".so") directly inside `folder` with
// a KTSearchPath, sorted by path so the load order does not depend on the
// directory listing. Returns false with a one-line reason in `error` when the
// folder is missing, is not a folder, or cannot be read.
bool FindPluginModules(const std::string& folder, std::vector<std::string>& modules,
                       std::string& error);

struct PluginResult {
  enum Outcome {
    kLoaded,   // the entry ran to its end
    kSkipped,  // the same module was already loaded under another path
    kRefused,  // no interface-version function, or a different version
    kFailed,   // cannot be loaded, has no entry of its own, or threw
  };
  std::string path;
  Outcome outcome = kFailed;
  std::string message;  // why, for every outcome but kLoaded
  int version = 0;      // the module's interface version, when it has one
};

// Loads plug-ins one by one and calls their entries with the recording view
// of the system. Loaded modules are never unloaded: objects, factories and
// startup functions registered by a plug-in point into its code, and the
// system calls them until qrnExitSystem() returns. Refused modules stay
// mapped too (their static constructors have already run).
class PluginLoader {
 public:
  explicit PluginLoader(RecordingSystem& system) : m_system(system) {}

  // Never throws for a plug-in's fault: a throwing entry is reported as
  // kFailed with the exception's text.
  PluginResult Load(const std::string& path);

 private:
  RecordingSystem& m_system;
  std::vector<std::pair<void*, std::string>> m_loaded;  // handle, path
};

// "libexample.so" for "/a/b/libexample.so".
std::string FileNameOf(const std::string& path);

}  // namespace kthost

#endif  // KTBASE_EXAMPLES_KTHOST_PLUGIN_LOADER_H
