// ktbase_bench: every case but start-up (which needs a process that has not
// loaded libktbase.so, see bench_startup.cpp), each beside its peers and its
// floor. Inputs are generated before the first benchmark runs and removed at
// exit.
#include <benchmark/benchmark.h>

#include "bench_cases.h"
#include "inputs.h"

namespace ktbench {

std::unique_ptr<IKTPrefManager> NewManager() {
  std::unique_ptr<IKTPrefManager> manager(IKTPrefManager::Create());
  manager->Writable(false);
  return manager;
}

std::string CaseName(const char* group, const std::string& variant, const char* impl) {
  return std::string("BM_") + group + '/' + variant + '/' + impl;
}

}  // namespace ktbench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  if (!ktbench::SetUp()) {
    ktbench::TearDown();
    return 1;
  }
  const ktbench::Workspace& work = ktbench::Work();
  benchmark::AddCustomContext("disk_dir", work.diskDir + " (" + work.diskFs + ")");
  benchmark::AddCustomContext("shm_dir",
                              work.shmDir.empty() ? "none" : work.shmDir + " (" + work.shmFs + ")");

  ktbench::RegisterLoadBenchmarks();
  ktbench::RegisterSaveBenchmarks();
  ktbench::RegisterReadBenchmarks();
  ktbench::RegisterRegistryBenchmarks();
  ktbench::RegisterUidBenchmarks();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();

  ktbench::FinishRegistryBenchmarks();
  ktbench::TearDown();
  return 0;
}
