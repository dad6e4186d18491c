// A dependency of the owner module: dlsym through the owner finds this.
extern "C" __attribute__((visibility("default"))) int kttest_dep_symbol() { return 2; }
