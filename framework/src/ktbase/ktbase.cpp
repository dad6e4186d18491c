// The four exported entry points and the one global they share.
#include <ktbase/ktbase.h>
#include <ktbase/ktbasesystem.h>
#include <ktbase/platform_linux.h>

// The live system object; null while there is none. Internal: hidden like
// everything not marked KTBASE_API.
ktbasesystem* g_BaseSystem = nullptr;

qrn::ISystem* qrnInitSystem(bool isDCCPlugin, int argc, char** argv) {
  // A live system wins: the arguments of a later call are ignored. If the
  // constructor throws, the new-expression frees the memory and the global
  // stays null.
  if (g_BaseSystem == nullptr) g_BaseSystem = new ktbasesystem(isDCCPlugin, argc, argv);
  return g_BaseSystem;
}

qrn::ISystem* qrnGetSystem() {
  if (g_BaseSystem != nullptr) return g_BaseSystem;
  // The assertion only records a report (see _plateform_assert): callers get
  // null and carry on. File and line are part of the report's fixed text.
  _plateform_assert(false, "qrnGetSystem",
                    "Base system is not initialized. Call qrnInitSystem first.", nullptr,
                    "framework/src/ktbase/ktbase", 29, true);
  return nullptr;
}

bool qrnExitSystem() {
  if (g_BaseSystem == nullptr) return false;
  // The global stays set while the destructor runs, so Term() and the
  // destructors of deletion-list objects may still reach the system.
  delete g_BaseSystem;
  g_BaseSystem = nullptr;
  return true;
}

bool qrnIsSystemInitialized() { return g_BaseSystem != nullptr; }
