// A module whose entry comes from a library it links to, for kthost's tests
// (the other bad modules are tests/modules/fixtures/plugin.cpp). One source,
// one module per KTTEST_* definition (see CMakeLists.txt).
#include <ktbase/ktplugin.h>

#include <iostream>

#if defined(KTTEST_SHARED_ENTRY)
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
