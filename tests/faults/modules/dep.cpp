// A library that the module needs_dep links; the loader never finds it.
extern "C" __attribute__((visibility("default"))) int ktfault_dep() { return 1; }
