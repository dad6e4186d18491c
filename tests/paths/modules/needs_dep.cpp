// Links a library that is on no search path of the loader.
extern "C" int kttest_dep_symbol();
extern "C" __attribute__((visibility("default"))) int ktfault_needs_dep() {
  return kttest_dep_symbol() + 1;
}
