// Reads a variable that nothing defines: data references are bound at load
// time, so no loader mode can load this module.
extern "C" int ktfault_missing_data;
extern "C" __attribute__((visibility("default"))) int ktfault_read() {
  return ktfault_missing_data;
}
