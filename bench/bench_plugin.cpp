// The benchmark's plug-ins: a good one (its entry registers a startup
// factory); with KTBENCH_CRASHES one that aborts when loaded, with
// KTBENCH_OTHER one built for another interface.
#include <ktbase/ktplugin.h>

#include <cstdlib>

#if defined(KTBENCH_OTHER)
#undef KTPLUGIN_INTERFACE_VERSION
#define KTPLUGIN_INTERFACE_VERSION 99
#endif

#if defined(KTBENCH_CRASHES)
namespace {
struct Crash {
  Crash() { std::abort(); }
} g_crash;
}  // namespace
#endif

namespace {
void Started() {}
}  // namespace

KTPLUGIN_ENTRY(system) { system->RegisterStartupFactory(&Started); }
