// Test-only modules for kthost's bad-input cases. One source, one module per
// KTTEST_* definition (see CMakeLists.txt).
#include <ktbase/ktplugin.h>

#include <iostream>
#include <stdexcept>

#if defined(KTTEST_WRONG_VERSION)
// Built "against another interface": must be refused, never entered.
extern "C" KTPLUGIN_API int KtPluginInterfaceVersion() { return 99; }
extern "C" KTPLUGIN_API void KtPluginEntry(qrn::ISystem*) {
  std::cout << "ENTERED wrong version\n";
}

#elif defined(KTTEST_THROWS)
KTPLUGIN_ENTRY(system) {
  system->RegisterComponent("Test.BeforeThrow", nullptr);
  throw std::runtime_error("no licence for this plug-in");
}

#elif defined(KTTEST_NO_ENTRY)
extern "C" KTPLUGIN_API int KtPluginInterfaceVersion() { return KTPLUGIN_INTERFACE_VERSION; }

#elif defined(KTTEST_SHARED_ENTRY)
// A library (not in the plug-in folder) that defines an entry; a module that
// links to it inherits the symbol, which the host must not call.
KTPLUGIN_ENTRY(system) {
  std::cout << "ENTERED shared library\n";
  (void)system;
}

#elif defined(KTTEST_INHERITS)
extern "C" void KtPluginEntry(qrn::ISystem*);  // from the shared library
// Referenced, so the module really depends on the library that defines it.
void (*volatile g_inherited)(qrn::ISystem*) = &KtPluginEntry;
extern "C" KTPLUGIN_API int KtPluginInterfaceVersion() { return KTPLUGIN_INTERFACE_VERSION; }
#endif
