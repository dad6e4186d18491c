// Stands in for the platform module; only its SONAME matters.
extern "C" __attribute__((visibility("default"))) int kttest_zep_marker() { return 1; }
