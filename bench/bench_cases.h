// The benchmark cases of ktbase_bench, one registration function per source.
//
// Naming, which the table printer relies on: "BM_<Case>/<variant>/<impl>",
// where <impl> is "ktbase", "floor" (what the ratio is taken against), a
// peer library ("inih", "ptree", "poco", "libuuid", "boost"), "floor_<x>" (an
// alternative floor, shown for information) or "ktbase_<x>" (a breakdown of
// the library's own cost, shown for information).
#ifndef KTBASE_BENCH_CASES_H
#define KTBASE_BENCH_CASES_H

#include <ktbase/ktprefmanager.h>

#include <memory>
#include <string>

namespace ktbench {

void RegisterLoadBenchmarks();
void RegisterSaveBenchmarks();
void RegisterReadBenchmarks();
void RegisterRegistryBenchmarks();
void RegisterUidBenchmarks();

// Ends what the registry cases started (the system object).
void FinishRegistryBenchmarks();

// A manager that never saves by itself (Writable(false)); its default files
// lie below the bench's TMPDIR.
std::unique_ptr<IKTPrefManager> NewManager();

// "BM_<group>/<variant>/<impl>".
std::string CaseName(const char* group, const std::string& variant, const char* impl);

}  // namespace ktbench

#endif  // KTBASE_BENCH_CASES_H
