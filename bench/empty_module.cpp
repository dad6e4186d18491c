// The start-up floor: a module with nothing in it but one function, so that
// dlopen and dlclose have the least possible work.
extern "C" __attribute__((visibility("default"))) int ktbase_bench_empty_module() { return 0; }
