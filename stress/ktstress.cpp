// ktstress: many system lifecycles and preference operations in one process,
// then a check that resident memory did not grow.
//
//   ktstress [--cycles N] [--pref-ops N] [--max-growth PERCENT] [--kills N]
//            [--concurrent-saves N]
//
// Each cycle initialises the system, registers and uses singletons, a
// component, named objects, startup factories and objects handed over for
// deletion, then exits the system; the preference operations (writes and
// reads in equal number, over a fixed set of keys, with a save and reload
// every tenth of the run) are spread over the cycles. The program checks that
// every object made in a cycle is destroyed by its end, and compares the
// resident set after the first cycle with the one after the run.
//
// Then the saves of one file by other processes: a child saves two texts of
// the same 2,000 keys in turn and is killed with SIGKILL at a random instant,
// --kills times (default 300); after each kill the file must hold one of the
// texts whole, and a save of this process must leave no other file in the
// folder. Last, two children save one text each --concurrent-saves times
// (default 1,000) while this process reads the file: every read must find one
// whole text.
//
// Exit status: 0 when within --max-growth (default 5%), 1 otherwise or on a
// broken check, 2 on bad arguments. All files go to a private folder (also
// "TMPDIR") that is removed at the end.
#include <ktbase/idestroy.h>
#include <ktbase/irefcount.h>
#include <ktbase/isingleton.h>
#include <ktbase/ktbase.h>
#include <ktbase/ktprefmanager.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/filesystem.hpp>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

long g_live = 0;  // objects of this program alive right now
long g_inits = 0, g_terms = 0, g_factoryRuns = 0;
bool g_failed = false;

void Check(bool condition, const char* what, long cycle) {
  if (condition || g_failed) return;
  std::fprintf(stderr, "ktstress: check failed in cycle %ld: %s\n", cycle, what);
  g_failed = true;
}

// Counts itself; the faces say how the system treats it.
template <class... Faces>
class Object final : public qrn::IBase, public Faces... {
 public:
  Object() { ++g_live; }
  // Init() to Release() override a face's operation only when the object has
  // that face, so they cannot say `override`, and then none of these does
  // (clang asks for consistency).
  // NOLINTBEGIN(modernize-use-override)
  ~Object() { --g_live; }
  const char* GetClsName() { return "Stress.Object"; }
  void Init() { ++g_inits; }
  void Term() { ++g_terms; }
  long AddRef() { return ++m_refs; }
  long Release() {  // the system releases a counted-only object once
    const long left = --m_refs;
    if (left == 0) delete this;
    return left;
  }
  // NOLINTEND(modernize-use-override)

 private:
  std::vector<int> m_payload = std::vector<int>(64, 7);
  long m_refs = 1;
};
using Service = Object<qrn::ISingleton, qrn::IDestroy>;
using Shared = Object<qrn::IRefCount>;
using Component = Object<qrn::IDestroy>;

qrn::IBase* MakeService() { return new Service; }
qrn::IBase* MakeComponent() { return new Component; }
void CountFactory() { ++g_factoryRuns; }
void RegisterAnother() {
  ++g_factoryRuns;
  qrnGetSystem()->RegisterStartupFactory(&CountFactory);
}

long ResidentKiB() {
  std::ifstream statm("/proc/self/statm");
  long pages = 0, resident = 0;
  statm >> pages >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

void OneCycle(long cycle, int argc, char** argv) {
  qrn::ISystem* system = qrnInitSystem(cycle % 2 == 0, argc, argv);
  Check(system != nullptr && qrnIsSystemInitialized(), "qrnInitSystem", cycle);
  if (system == nullptr) return;
  Check(qrnInitSystem(false, 0, nullptr) == system, "second qrnInitSystem", cycle);

  static const char* const names[] = {"Stress.A", "Stress.B", "Stress.C", "Stress.D"};
  for (const char* name : names) system->RegisterSingleton(name, &MakeService);
  for (const char* name : names)
    Check(system->GetSingleton(name) == system->GetSingleton(name), "same singleton twice", cycle);
  system->RegisterSingleton("Stress.A", &MakeService);  // Term() now, destroyed at exit
  system->GetSingleton("Stress.A");

  system->RegisterComponent("Stress.Component", &MakeComponent);
  delete system->CreateComponent("Stress.Component");

  auto* shared = new Shared;
  system->SetNamedObject("Stress.Shared", shared);
  system->RemoveNamedObject("Stress.Shared");
  system->RegisterObjectForDeletion(shared);
  system->RegisterObjectForDeletion(new Component);

  system->RegisterStartupFactory(&CountFactory);
  system->RegisterStartupFactory(&RegisterAnother);
  system->RunStartupFactories();
  system->RegisterStartupFactory(&CountFactory);  // never run: discarded at exit

  std::vector<std::string> args;
  system->GetApplicationArguments(args);
  Check(args.size() == static_cast<size_t>(argc), "arguments", cycle);

  Check(qrnExitSystem(), "qrnExitSystem", cycle);
  Check(!qrnExitSystem() && !qrnIsSystemInitialized(), "no system after exit", cycle);
  Check(g_live == 0, "every object destroyed at exit", cycle);
}

// `count` preference operations, half writes and half reads, over kKeys keys.
// Each key always gets the same type and value (whichever scope a write
// picks), so a read through the full lookup knows what to expect.
constexpr long kKeys = 1000;

template <typename T>
void WriteOrRead(IKTPrefManager& prefs, bool write, const std::string& key, const T& want,
                 IKTPrefManager::EPrefType scope, long cycle) {
  if (write) return prefs.SetPref(key, want, scope);
  T got{};
  Check(prefs.GetPref(key, T{}, got, false) == want, key.c_str(), cycle);
}

void PrefOps(IKTPrefManager& prefs, long first, long count, long cycle) {
  for (long op = first; op < first + count; ++op) {
    const long n = op / 2, k = n % kKeys;
    const std::string key = "Stress.Key" + std::to_string(k);
    const auto scope = static_cast<IKTPrefManager::EPrefType>(n % 3);
    const bool write = op % 2 == 0;
    if (k % 5 == 0) WriteOrRead(prefs, write, key, std::string(k % 40, 'v'), scope, cycle);
    if (k % 5 == 1) WriteOrRead(prefs, write, key, static_cast<int>(k), scope, cycle);
    if (k % 5 == 2) WriteOrRead(prefs, write, key, static_cast<float>(k) / 8.0f, scope, cycle);
    if (k % 5 == 3) WriteOrRead(prefs, write, key, k % 2 == 0, scope, cycle);
    if (k % 5 != 4) continue;
    const std::vector<std::string> list{"a", std::to_string(k), "c"};
    std::vector<std::string> got;
    if (write)
      prefs.SetPref(key, list, ';', scope);
    else
      Check(prefs.GetPref(key, ';', {}, got, false) == list, key.c_str(), cycle);
  }
}

// Save every scope, then read the user and site scopes back from disk (a
// scope is read again only after its file was set anew).
void SaveAndReload(IKTPrefManager& prefs, const std::string& folder) {
  prefs.SaveToDisk(IKTPrefManager::ePrefAll);
  prefs.Configure(folder + "/elsewhere.prefs", IKTPrefManager::ePrefUser);
  prefs.Configure(folder + "/user.prefs", IKTPrefManager::ePrefUser);
  prefs.Configure(folder + "/site.prefs", IKTPrefManager::ePrefSite);
  prefs.LoadFromDisk(IKTPrefManager::ePrefUser);
  prefs.LoadFromDisk(IKTPrefManager::ePrefSite);
}

// Saves of one file by other processes. Two managers hold the same keys with
// other values; a child saves both in turn and is killed at a random instant
// up to 10 ms after its fork (on a disk about one save, on tmpfs many), then
// two children save one each `saves` times while this process reads.
void SaveRaces(const boost::filesystem::path& folder, long kills, long saves) {
  namespace fs = boost::filesystem;
  constexpr auto kUser = IKTPrefManager::ePrefUser;
  const std::string file = (folder / "user.prefs").string();
  std::unique_ptr<IKTPrefManager> prefs[2];
  std::string texts[2];
  const auto text = [&] {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  };
  const auto whole = [&] {
    const std::string read = text();
    return read == texts[0] || read == texts[1];
  };
  const auto alone = [&] {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator()) == 1;
  };
  // A child that saves prefs[first] `times` times, or (times 0) both in turn
  // until killed; it exits 1 on a failed save.
  const auto saver = [&](int first, long times) {
    const pid_t pid = ::fork();
    for (long n = 0; pid == 0 && (times == 0 || n < times); ++n) {
      if (prefs[(first + (times == 0 ? n : 0)) % 2]->SaveToDisk(kUser)) ::_exit(1);
    }
    if (pid == 0) ::_exit(0);
    return pid;
  };
  fs::create_directories(folder);
  for (int n = 0; n < 2; ++n) {
    prefs[n].reset(IKTPrefManager::Create());
    prefs[n]->Configure(file, kUser);
    for (int key = 1000; key < 3000; ++key)
      prefs[n]->SetPref("Stress.Race.Key" + std::to_string(key), std::string(30, "ab"[n]), kUser);
    prefs[n]->SaveToDisk(kUser);
    texts[n] = text();
  }

  std::mt19937 random(19);
  long left = 0;
  for (long kill = 1; kill <= kills && !g_failed; ++kill) {
    const pid_t child = saver(1, 0);
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 10000));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    Check(whole(), "a killed save leaves the old or the new text whole", kill);
    left += alone() ? 0 : 1;
    Check(!prefs[0]->SaveToDisk(kUser) && alone(), "the next save leaves no other file", kill);
  }
  std::printf("killed saves           %ld (%ld left a new file, which the next save removed)\n",
              kills, left);

  const pid_t savers[2] = {saver(0, saves), saver(1, saves)};
  long reads = 0;
  for (const pid_t child : savers) {
    int status = 0;
    while (::waitpid(child, &status, WNOHANG) == 0)
      Check(whole(), "a read during concurrent saves finds one whole text", ++reads);
    Check(WIFEXITED(status) && WEXITSTATUS(status) == 0, "every concurrent save succeeds", reads);
  }
  Check(whole() && alone(), "concurrent saves end with one whole text", reads);
  std::printf("concurrent saves       2 x %ld, %ld reads meanwhile, each of one whole text\n",
              saves, reads);
  for (auto& manager : prefs) manager->Writable(false);
}

}  // namespace

int main(int argc, char** argv) {
  long cycles = 100000, prefOps = 1000000, maxGrowth = 5, kills = 300, concurrentSaves = 1000;
  for (int i = 1; i < argc; i += 2) {
    long* target = std::strcmp(argv[i], "--cycles") == 0             ? &cycles
                   : std::strcmp(argv[i], "--pref-ops") == 0         ? &prefOps
                   : std::strcmp(argv[i], "--max-growth") == 0       ? &maxGrowth
                   : std::strcmp(argv[i], "--kills") == 0            ? &kills
                   : std::strcmp(argv[i], "--concurrent-saves") == 0 ? &concurrentSaves
                                                                     : nullptr;
    char* end = nullptr;
    if (target == nullptr || i + 1 == argc || (*target = std::strtol(argv[i + 1], &end, 10)) < 1 ||
        *end != '\0') {
      std::fprintf(stderr,
                   "usage: %s [--cycles N] [--pref-ops N] [--max-growth PERCENT] [--kills N] "
                   "[--concurrent-saves N]\n",
                   argv[0]);
      return 2;
    }
  }

  namespace fs = boost::filesystem;
  const fs::path folder = fs::temp_directory_path() / fs::unique_path("ktstress-%%%%-%%%%");
  fs::create_directories(folder);
  ::setenv("TMPDIR", folder.string().c_str(), 1);

  long rssFirst = 0, rssLast = 0;
  {
    std::unique_ptr<IKTPrefManager> prefs(IKTPrefManager::Create());
    prefs->Configure((folder / "user.prefs").string(), (folder / "project.prefs").string(),
                     (folder / "site.prefs").string());
    // Every key exists, and the files have been written and read once, before
    // the first measurement: the maps keep their size from then on.
    PrefOps(*prefs, 0, 2 * kKeys * 3, 0);
    SaveAndReload(*prefs, folder.string());

    const long opsPerCycle = prefOps / cycles, extraOps = prefOps % cycles;
    const long reloadEvery = cycles >= 10 ? cycles / 10 : 1;
    long done = 0;
    for (long cycle = 1; cycle <= cycles && !g_failed; ++cycle) {
      OneCycle(cycle, argc, argv);
      const long ops = opsPerCycle + (cycle <= extraOps ? 1 : 0);
      PrefOps(*prefs, 2 * kKeys * 3 + done, ops, cycle);
      done += ops;
      if (cycle % reloadEvery == 0) SaveAndReload(*prefs, folder.string());
      if (cycle == 1) rssFirst = ResidentKiB();
    }
    rssLast = ResidentKiB();
    prefs->Writable(false);

    std::printf("cycles                 %ld\n", cycles);
    std::printf("singleton inits/terms  %ld/%ld\n", g_inits, g_terms);
    std::printf("startup factory runs   %ld\n", g_factoryRuns);
    std::printf("preference operations  %ld (plus %ld to create the keys)\n", done, 2 * kKeys * 3);
    std::printf("RSS after first cycle  %ld KiB\n", rssFirst);
    std::printf("RSS after the run      %ld KiB\n", rssLast);
    std::printf("ratio                  %.4f (limit %.2f)\n",
                rssFirst > 0 ? static_cast<double>(rssLast) / static_cast<double>(rssFirst) : 0.0,
                1.0 + static_cast<double>(maxGrowth) / 100.0);
  }
  Check(g_inits == g_terms, "every Init() has its Term()", cycles);
  Check(g_live == 0, "nothing left alive", cycles);

  if (!g_failed) SaveRaces(folder / "race", kills, concurrentSaves);
  const bool grew = rssLast * 100 > rssFirst * (100 + maxGrowth);
  if (grew) std::fprintf(stderr, "ktstress: resident memory grew by more than %ld%%\n", maxGrowth);
  boost::system::error_code ec;
  fs::remove_all(folder, ec);
  const bool ok = !g_failed && !grew;
  std::printf("result                 %s\n", ok ? "ok" : "FAILED");
  return ok ? 0 : 1;
}
