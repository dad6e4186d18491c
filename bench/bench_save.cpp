// Save a scope: 1,000 and 100,000 keys, to tmpfs (/dev/shm) and to a disk
// folder.
//
// Floor: what a save that a crash or a full disk cannot cut, and that is on
// disk once it returns, must do at least. Walk the same std::map, format
// every line into one buffer sized in advance, write it to a new file,
// fdatasync it, close it, rename it over the old one, then fsync the folder
// so that the rename itself survives a power cut, as ktbase's does.
// floor_nodirsync: the same without the folder's fsync. floor_nosync: the
// text written over the old file with one open/write/close, left in the page
// cache (ktbase's save before it was atomic). Neither peer syncs:
// PropertyTree's write_ini and Poco's save write over the old file through a
// stream and close it.
#include <Poco/AutoPtr.h>
#include <Poco/Util/PropertyFileConfiguration.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <fstream>
#include <map>
#include <sstream>

#include "bench_cases.h"
#include "inputs.h"

namespace ktbench {
namespace {

using PrefMap = std::map<std::string, std::string>;

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string Format(const PrefMap& map) {
  std::size_t size = 0;
  for (const auto& entry : map) size += entry.first.size() + entry.second.size() + 2;
  std::string text;
  text.reserve(size);
  for (const auto& entry : map) {
    text.append(entry.first);
    text.push_back('=');
    text.append(entry.second);
    text.push_back('\n');
  }
  return text;
}

bool WriteAll(int fd, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t wrote = write(fd, text.data() + done, text.size() - done);
    if (wrote <= 0) return false;
    done += static_cast<std::size_t>(wrote);
  }
  return true;
}

template <bool syncFolder>
bool FloorSave(const std::string& path, const PrefMap& map) {
  const std::string text = Format(map);
  const std::string temporary = path + ".new";
  const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (fd < 0) return false;
  const bool written = WriteAll(fd, text) && fdatasync(fd) == 0;
  const bool saved = close(fd) == 0 && written && rename(temporary.c_str(), path.c_str()) == 0;
  if (!syncFolder) return saved;
  const int folder =
      open(path.substr(0, path.rfind('/')).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const bool synced = folder >= 0 && fsync(folder) == 0;
  if (folder >= 0) close(folder);
  return saved && synced;
}

bool FloorNoSyncSave(const std::string& path, const PrefMap& map) {
  const std::string text = Format(map);
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (fd < 0) return false;
  const bool written = WriteAll(fd, text);
  return close(fd) == 0 && written;
}

void SaveKtbase(benchmark::State& state, std::size_t count, std::string path) {
  std::unique_ptr<IKTPrefManager> manager = NewManager();
  for (const Entry& entry : Entries(count)) {
    manager->SetPref(entry.key, entry.value, IKTPrefManager::ePrefSite);
  }
  manager->Configure(path, IKTPrefManager::ePrefSite);
  manager->Writable(true);
  manager->SaveToDisk(IKTPrefManager::ePrefSite);
  if (Slurp(path) != FormatPrefs(Entries(count))) {
    manager->Writable(false);
    return state.SkipWithError("the saved file differs from the entries");
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(manager->SaveToDisk(IKTPrefManager::ePrefSite));
  }
  manager->Writable(false);
}

void SavePtree(benchmark::State& state, std::size_t count, std::string path) {
  namespace pt = boost::property_tree;
  pt::ptree tree;
  for (const Entry& entry : Entries(count)) tree.push_back({entry.key, pt::ptree(entry.value)});
  pt::write_ini(path, tree);
  if (Slurp(path) != FormatPrefs(Entries(count))) {
    return state.SkipWithError("write_ini wrote other text");
  }
  for (auto _ : state) pt::write_ini(path, tree);
}

void SavePoco(benchmark::State& state, std::size_t count, std::string path) {
  using Poco::Util::PropertyFileConfiguration;
  Poco::AutoPtr<PropertyFileConfiguration> config(new PropertyFileConfiguration);
  for (const Entry& entry : Entries(count)) config->setString(entry.key, entry.value);
  config->save(path);
  {
    // Poco writes "key: value"; check that it reads back.
    Poco::AutoPtr<PropertyFileConfiguration> back(new PropertyFileConfiguration(path));
    const Entry& last = Entries(count).back();
    if (back->getRawString(last.key, "") != last.value) {
      return state.SkipWithError("Poco's file does not read back");
    }
  }
  for (auto _ : state) config->save(path);
}

template <bool (*Save)(const std::string&, const PrefMap&)>
void SaveFloor(benchmark::State& state, std::size_t count, std::string path) {
  PrefMap map;
  for (const Entry& entry : Entries(count)) map.emplace(entry.key, entry.value);
  if (!Save(path, map) || Slurp(path) != FormatPrefs(Entries(count))) {
    return state.SkipWithError("the floor wrote other text");
  }
  for (auto _ : state) benchmark::DoNotOptimize(Save(path, map));
}

}  // namespace

void RegisterSaveBenchmarks() {
  const Workspace& work = Work();
  for (const Size& size : Sizes()) {
    for (const bool shm : {true, false}) {
      if (shm && work.shmDir.empty()) continue;
      const std::string variant = std::string(size.label) + (shm ? "_shm" : "_disk");
      const std::string dir = shm ? work.shmDir : work.diskDir;
      const std::size_t n = size.count;
      // Each implementation writes its own file, so none finds another's.
      auto file = [&](const char* impl) { return dir + "/save-" + variant + "-" + impl; };
      benchmark::RegisterBenchmark(CaseName("Save", variant, "floor").c_str(),
                                   SaveFloor<FloorSave<true>>, n, file("floor"));
      benchmark::RegisterBenchmark(CaseName("Save", variant, "floor_nodirsync").c_str(),
                                   SaveFloor<FloorSave<false>>, n, file("floor_nodirsync"));
      benchmark::RegisterBenchmark(CaseName("Save", variant, "floor_nosync").c_str(),
                                   SaveFloor<FloorNoSyncSave>, n, file("floor_nosync"));
      benchmark::RegisterBenchmark(CaseName("Save", variant, "ktbase").c_str(), SaveKtbase, n,
                                   file("ktbase"));
      benchmark::RegisterBenchmark(CaseName("Save", variant, "ptree").c_str(), SavePtree, n,
                                   file("ptree"));
      benchmark::RegisterBenchmark(CaseName("Save", variant, "poco").c_str(), SavePoco, n,
                                   file("poco"));
    }
  }
}

}  // namespace ktbench
