// Links a library that is on no search path of the loader.
extern "C" int ktfault_dep();
extern "C" __attribute__((visibility("default"))) int ktfault_needs_dep() {
  return ktfault_dep() + 1;
}
