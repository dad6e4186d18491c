// Defines one function and calls another that nothing defines: loadable only
// because function references are bound lazily.
extern "C" int ktfault_nowhere();
extern "C" __attribute__((visibility("default"))) int ktfault_defined() { return 42; }
extern "C" __attribute__((visibility("default"))) int ktfault_calls_nowhere() {
  return ktfault_nowhere();
}
