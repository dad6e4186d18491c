// ktbase_bench_hostkit: what the plug-in host kit costs a host.
//
// BM_PluginRecord/read_1000: the records of 1,000 plug-in files (copies of
//   one module), floor: stat() of the same 1,000 files; floor_read, for
//   information: open(), one pread() of the first page and close(), the least
//   any reader of the file does.
// BM_HostStart/warm_100_good_10_bad: a host's start with the kit and a warm
//   cache over 100 good modules and 10 bad ones (5 crash when loaded, 5 built
//   for another interface): scan, load the good ones, run the startup
//   factories, exit the system. floor: the same start over the 100 good
//   modules with no kit (ModuleUtils: load, version, entry).
// BM_HostStart/new_module: per module, the kit's scan of 10 modules it has
//   never seen (record and probe), in wall-clock time; floor: loading one new
//   module into the process and calling its entry, as a host without the kit
//   does.
// Modules cannot be unloaded, so each start runs in a forked child that
// measures itself (process CPU time; wall-clock time for the probes, which
// run in other processes) and reports through a pipe, as in
// bench_startup.cpp.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <ktbase/ktbase.h>
#include <ktbase/ktplugin.h>
#include <ktbase/ktpluginhost.h>
#include <ktbase/moduleutils.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::string g_base;  // private folder, removed at exit

double Now(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

// `count` copies of `module` named <prefix><n>.so in `folder`.
void Copies(const std::string& folder, const char* module, const char* prefix, int count) {
  fs::create_directories(folder);
  for (int i = 0; i < count; ++i)
    fs::copy_file(module, folder + "/" + prefix + std::to_string(i) + ".so",
                  fs::copy_options::overwrite_existing);
}

std::vector<std::string> Modules(const std::string& folder) {
  std::vector<std::string> modules;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder))
    if (entry.path().extension() == ".so") modules.push_back(entry.path().string());
  std::sort(modules.begin(), modules.end());
  return modules;
}

ktpluginhost::PluginHost::Options KitOptions(const std::string& cache) {
  ktpluginhost::PluginHost::Options options;
  options.cacheFile = cache;
  options.probeProgram = KTBENCH_PROBE;
  return options;
}

// Runs `work` in a forked child; its result (ns, or < 0 on failure) comes back
// through a pipe.
double InChild(double (*work)(const std::string&), const std::string& argument) {
  int fds[2];
  if (pipe(fds) != 0) return -1.0;
  const pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    const double ns = work(argument);
    const bool wrote = write(fds[1], &ns, sizeof ns) == static_cast<ssize_t>(sizeof ns);
    _exit(wrote ? 0 : 1);
  }
  close(fds[1]);
  double ns = -1.0;
  if (pid < 0 || read(fds[0], &ns, sizeof ns) != static_cast<ssize_t>(sizeof ns)) ns = -1.0;
  int status = 0;
  if (pid > 0) waitpid(pid, &status, 0);
  close(fds[0]);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? ns : -1.0;
}

// A start with no kit: every module of the folder loaded and entered.
double StartWithoutKit(const std::string& folder) {
  const double start = Now(CLOCK_PROCESS_CPUTIME_ID);
  qrn::ISystem* system = qrnInitSystem(false, 0, nullptr);
  int entered = 0;
  for (const std::string& module : Modules(folder)) {
    void* handle = ModuleUtils::LoadModule(module.c_str(), false);
    auto version = reinterpret_cast<ktplugin::VersionFunction>(
        handle ? ModuleUtils::GetLibraryFunc(handle, ktplugin::kVersionName) : nullptr);
    auto entry = reinterpret_cast<ktplugin::EntryFunction>(
        handle ? ModuleUtils::GetLibraryFunc(handle, ktplugin::kEntryName) : nullptr);
    if (version == nullptr || entry == nullptr || version() != ktplugin::kInterfaceVersion)
      continue;
    entry(system);
    ++entered;
  }
  system->RunStartupFactories();
  qrnExitSystem();
  return entered == 100 ? Now(CLOCK_PROCESS_CPUTIME_ID) - start : -1.0;
}

// A start with the kit: scan (warm cache), load the good modules.
double StartWithKit(const std::string& folder) {
  const double start = Now(CLOCK_PROCESS_CPUTIME_ID);
  qrn::ISystem* system = qrnInitSystem(false, 0, nullptr);
  ktpluginhost::PluginHost host(KitOptions(g_base + "/warm.cache"));
  const ktpluginhost::ScanResult scan = host.Scan(folder);
  int loaded = 0;
  for (const ktpluginhost::PluginInfo& plugin : scan.plugins) {
    if (plugin.verdict == ktpluginhost::Verdict::kGood)
      loaded += host.Load(plugin, system).outcome == ktpluginhost::LoadResult::kLoaded;
  }
  system->RunStartupFactories();
  qrnExitSystem();
  const bool ok = loaded == 100 && scan.probes == 0 && scan.plugins.size() == 110;
  return ok ? Now(CLOCK_PROCESS_CPUTIME_ID) - start : -1.0;
}

// Wall-clock time per module of a scan that probes 10 new modules.
double ProbeNew(const std::string& folder) {
  const std::string cache = g_base + "/cold.cache";
  fs::remove(cache);
  const double start = Now(CLOCK_MONOTONIC);
  const ktpluginhost::ScanResult scan = ktpluginhost::PluginHost(KitOptions(cache)).Scan(folder);
  return scan.probes == 10 ? (Now(CLOCK_MONOTONIC) - start) / 10 : -1.0;
}

// Wall-clock time to load one new module and call its entry, in process.
double LoadNew(const std::string& module) {
  qrn::ISystem* system = qrnInitSystem(false, 0, nullptr);
  const double start = Now(CLOCK_MONOTONIC);
  void* handle = ModuleUtils::LoadModule(module.c_str(), false);
  auto entry = reinterpret_cast<ktplugin::EntryFunction>(
      handle ? ModuleUtils::GetLibraryFunc(handle, ktplugin::kEntryName) : nullptr);
  if (entry == nullptr) return -1.0;
  entry(system);
  return Now(CLOCK_MONOTONIC) - start;
}

void Measure(benchmark::State& state, double (*work)(const std::string&),
             const std::string& argument) {
  for (auto _ : state) {
    const double ns = InChild(work, argument);
    if (ns < 0) return state.SkipWithError("the child failed (see its checks)");
    state.SetIterationTime(ns / 1e9);
  }
}

enum class RecordCase { kStat, kRead, kRecord };

void ReadRecords(benchmark::State& state, RecordCase what) {
  const std::vector<std::string> modules = Modules(g_base + "/records");
  ktpluginhost::PluginRecord record;
  std::string why;
  for (const std::string& module : modules) {
    if (ktpluginhost::ReadPluginRecord(module, record, why) != ktpluginhost::RecordStatus::kRecord)
      return state.SkipWithError("a module has no record");
  }
  for (auto _ : state) {
    for (const std::string& module : modules) {
      if (what == RecordCase::kStat) {
        struct stat info {};
        benchmark::DoNotOptimize(stat(module.c_str(), &info));
      } else if (what == RecordCase::kRead) {
        char page[4096];
        const int fd = open(module.c_str(), O_RDONLY | O_CLOEXEC);
        benchmark::DoNotOptimize(pread(fd, page, sizeof page, 0));
        close(fd);
      } else {
        benchmark::DoNotOptimize(ktpluginhost::ReadPluginRecord(module, record, why));
      }
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  // The system's preference folder and every file the cases make stay here.
  g_base = "/var/tmp/ktbase-bench-hostkit-XXXXXX";
  if (mkdtemp(g_base.data()) == nullptr) {
    std::perror("ktbase_bench_hostkit: mkdtemp");
    return 1;
  }
  setenv("TMPDIR", g_base.c_str(), 1);
  Copies(g_base + "/records", KTBENCH_GOOD, "librecord", 1000);
  Copies(g_base + "/good", KTBENCH_GOOD, "libgood", 100);
  Copies(g_base + "/mixed", KTBENCH_GOOD, "libgood", 100);
  Copies(g_base + "/mixed", KTBENCH_CRASHES, "libcrashes", 5);
  Copies(g_base + "/mixed", KTBENCH_OTHER, "libother", 5);
  Copies(g_base + "/new", KTBENCH_GOOD, "libnew", 10);
  // Warm the cache once: the start measured is the second one.
  const ktpluginhost::ScanResult warm =
      ktpluginhost::PluginHost(KitOptions(g_base + "/warm.cache")).Scan(g_base + "/mixed");
  if (warm.probes != 105)
    std::fprintf(stderr, "ktbase_bench_hostkit: warming probed %d\n", warm.probes);

  benchmark::RegisterBenchmark("BM_PluginRecord/read_1000/floor", ReadRecords, RecordCase::kStat);
  benchmark::RegisterBenchmark("BM_PluginRecord/read_1000/floor_read", ReadRecords,
                               RecordCase::kRead);
  benchmark::RegisterBenchmark("BM_PluginRecord/read_1000/ktbase", ReadRecords,
                               RecordCase::kRecord);
  const struct {
    const char* name;
    double (*work)(const std::string&);
    std::string argument;
    int iterations;
  } starts[] = {
      {"BM_HostStart/warm_100_good_10_bad/floor", StartWithoutKit, g_base + "/good", 20},
      {"BM_HostStart/warm_100_good_10_bad/ktbase", StartWithKit, g_base + "/mixed", 20},
      {"BM_HostStart/new_module/floor", LoadNew, g_base + "/new/libnew0.so", 50},
      {"BM_HostStart/new_module/ktbase", ProbeNew, g_base + "/new", 5},
  };
  for (const auto& start : starts) {
    benchmark::RegisterBenchmark(start.name, Measure, start.work, start.argument)
        ->UseManualTime()
        ->Iterations(start.iterations);
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::error_code ignored;
  fs::remove_all(g_base, ignored);
  return 0;
}
