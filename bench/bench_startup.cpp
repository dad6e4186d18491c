// ktbase_bench_startup: what a host pays to bring the library up and down.
//
// libktbase.so cannot be unloaded: it carries STB_GNU_UNIQUE symbols (the
// error categories that Boost.System's headers define inline), which make the
// loader keep it, and its dependencies, mapped after dlclose. A dlopen loop in
// one process would therefore time a reference-count bump after its first
// pass. So every iteration forks a child that has never loaded the library;
// the child times its own work (CPU time of the process, which counts the
// kernel's mapping and page-fault work) and reports it through a pipe, and
// the parent records that as the iteration's manual time. This process never
// loads libktbase.so itself (it only includes the headers).
//
// BM_Startup/dlopen_init_prefs_exit:
//   floor          dlopen and dlclose of an empty module;
//   ktbase         dlopen of libktbase.so by absolute path, dlsym of the
//                  mangled entry points, qrnInitSystem, IKTPrefManager::Create,
//                  delete of the manager, qrnExitSystem, dlclose;
//   ktbase_dlopen  dlopen and dlclose of libktbase.so alone (the loader's
//                  share), for information;
//   ktbase_warm    the same cycle in a child that has loaded the library
//                  once already (the library's own share), for information.
// Counters: "stays_loaded", the objects still mapped after a full cycle's
// dlclose (their names go to standard error); "wall_ns", the child's
// wall-clock time.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <ktbase/isystem.h>
#include <ktbase/ktprefmanager.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>

namespace {

using InitFn = qrn::ISystem* (*)(bool, int, char**);
using ExitFn = bool (*)();
using CreateFn = IKTPrefManager* (*)();

constexpr const char* kInitSymbol = "_Z13qrnInitSystembiPPc";
constexpr const char* kExitSymbol = "_Z13qrnExitSystemv";
constexpr const char* kCreateSymbol = "_ZN14IKTPrefManager6CreateEv";
constexpr int kOpenFlags = RTLD_NOW | RTLD_LOCAL;

// Paths of the files mapped into this process.
std::set<std::string> MappedFiles() {
  std::set<std::string> files;
  std::ifstream maps("/proc/self/maps");
  std::string line;
  while (std::getline(maps, line)) {
    const std::string::size_type slash = line.find('/');
    if (slash != std::string::npos) files.insert(line.substr(slash));
  }
  return files;
}

// One full start-up and shut-down; false on failure.
bool StartAndStop() {
  void* handle = dlopen(KTBASE_BENCH_LIBRARY, kOpenFlags);
  if (!handle) return false;
  const auto init = reinterpret_cast<InitFn>(dlsym(handle, kInitSymbol));
  const auto exit = reinterpret_cast<ExitFn>(dlsym(handle, kExitSymbol));
  const auto create = reinterpret_cast<CreateFn>(dlsym(handle, kCreateSymbol));
  bool ok = init && exit && create;
  if (ok) {
    char program[] = "ktbase_bench_startup";
    char* argv[] = {program, nullptr};
    ok = init(false, 1, argv) != nullptr;
    IKTPrefManager* prefs = create();
    ok = ok && prefs != nullptr;
    delete prefs;  // through the virtual destructor: saves nothing (empty scope)
    ok = exit() && ok;
  }
  dlclose(handle);
  return ok;
}

bool OpenAndClose(const char* path) {
  void* handle = dlopen(path, kOpenFlags);
  if (!handle) return false;
  dlclose(handle);
  return true;
}

double Now(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

struct ChildResult {
  double cpuNs;
  double wallNs;
  int stays;  // objects mapped by the timed part and still mapped after it
  bool ok;
};

// Forks; the child runs `prelude` untimed, then `timed` `repeats` times,
// timed, and reports the mean. With `check`, the child also counts what the
// timed part left mapped and writes the names to standard error.
ChildResult InChild(bool (*prelude)(), bool (*timed)(), int repeats, bool check) {
  ChildResult result{0.0, 0.0, 0, false};
  int fds[2];
  if (pipe(fds) != 0) return result;
  const pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    ChildResult child{0.0, 0.0, 0, prelude ? prelude() : true};
    const std::set<std::string> before = check ? MappedFiles() : std::set<std::string>();
    const double cpu = Now(CLOCK_PROCESS_CPUTIME_ID);
    const double wall = Now(CLOCK_MONOTONIC);
    for (int i = 0; i < repeats; ++i) child.ok = timed() && child.ok;
    child.cpuNs = (Now(CLOCK_PROCESS_CPUTIME_ID) - cpu) / repeats;
    child.wallNs = (Now(CLOCK_MONOTONIC) - wall) / repeats;
    if (check) {
      for (const std::string& file : MappedFiles()) {
        if (before.count(file)) continue;
        ++child.stays;
        std::fprintf(stderr, "  stays mapped after dlclose: %s\n", file.c_str());
      }
    }
    const ssize_t wrote = write(fds[1], &child, sizeof child);
    _exit(wrote == static_cast<ssize_t>(sizeof child) ? 0 : 1);
  }
  close(fds[1]);
  if (pid > 0) {
    ChildResult child{};
    const bool got = read(fds[0], &child, sizeof child) == static_cast<ssize_t>(sizeof child);
    int status = 0;
    waitpid(pid, &status, 0);
    if (got && WIFEXITED(status) && WEXITSTATUS(status) == 0) result = child;
  }
  close(fds[0]);
  return result;
}

// Warms the loader in a fresh child: its first dlopen pays one-time costs
// (copy-on-write faults on the loader's and allocator's pages, lazy binding)
// that have nothing to do with the module being loaded.
bool WarmLoader() { return OpenAndClose(KTBASE_BENCH_EMPTY_MODULE); }
bool FullCycle() { return StartAndStop(); }
bool WarmThenFullCycle() { return WarmLoader() && StartAndStop(); }
bool LibraryOnly() { return OpenAndClose(KTBASE_BENCH_LIBRARY); }
bool EmptyModule() { return OpenAndClose(KTBASE_BENCH_EMPTY_MODULE); }

void Measure(benchmark::State& state, const char* label, bool (*prelude)(), bool (*timed)(),
             int repeats = 1) {
  // The children must start without the library: this process never loads it.
  for (const std::string& file : MappedFiles()) {
    if (file.find("libktbase.so") != std::string::npos) {
      return state.SkipWithError("libktbase.so is loaded in the parent process");
    }
  }
  static std::map<std::string, int> staysByLabel;  // checked once per label
  auto stays = staysByLabel.find(label);
  if (stays == staysByLabel.end()) {
    std::fprintf(stderr, "%s:\n", label);
    const ChildResult check = InChild(prelude, timed, 1, true);
    if (!check.ok) return state.SkipWithError("the child could not load or run the library");
    stays = staysByLabel.emplace(label, check.stays).first;
  }
  double wall = 0.0;
  for (auto _ : state) {
    const ChildResult child = InChild(prelude, timed, repeats, false);
    if (!child.ok) return state.SkipWithError("the child could not load or run the library");
    state.SetIterationTime(child.cpuNs / 1e9);
    wall += child.wallNs;
  }
  state.counters["stays_loaded"] = stays->second;
  state.counters["wall_ns"] = benchmark::Counter(wall, benchmark::Counter::kAvgIterations);
}

void StartupFloor(benchmark::State& state) { Measure(state, "floor", WarmLoader, EmptyModule); }
void StartupKtbase(benchmark::State& state) { Measure(state, "ktbase", WarmLoader, FullCycle); }
void StartupKtbaseDlopen(benchmark::State& state) {
  Measure(state, "ktbase_dlopen", WarmLoader, LibraryOnly);
}
void StartupKtbaseWarm(benchmark::State& state) {
  Measure(state, "ktbase_warm", WarmThenFullCycle, FullCycle, 20);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;

  // The preference manager creates its data folder below TMPDIR: keep it
  // private and remove it at the end.
  std::string base = "/tmp/ktbase-bench-startup-XXXXXX";
  if (!mkdtemp(base.data())) {
    std::perror("ktbase_bench_startup: mkdtemp");
    return 1;
  }
  setenv("TMPDIR", base.c_str(), 1);

  const std::string name = "BM_Startup/dlopen_init_prefs_exit/";
  // Every iteration forks, so the counts are fixed (--benchmark_min_time does
  // not apply): about a second per repetition here.
  const struct {
    const char* impl;
    void (*run)(benchmark::State&);
    int iterations;
  } cases[] = {{"floor", StartupFloor, 200},
               {"ktbase", StartupKtbase, 50},
               {"ktbase_dlopen", StartupKtbaseDlopen, 50},
               {"ktbase_warm", StartupKtbaseWarm, 50}};
  for (const auto& c : cases) {
    benchmark::RegisterBenchmark((name + c.impl).c_str(), c.run)
        ->UseManualTime()
        ->Iterations(c.iterations);
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();

  std::error_code ignored;
  std::filesystem::remove_all(base, ignored);
  return 0;
}
