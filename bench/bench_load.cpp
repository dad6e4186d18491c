// Load a scope from disk: 1,000 and 100,000 keys, sorted (as the library
// writes files) and shuffled.
//
// Floors: read the whole file, split lines at '\n' and at the first '=', trim
// spaces, and build a std::map (with emplace_hint at the end for sorted input;
// "floor_map" is the plain insert on sorted input, for information).
// Every implementation is checked once, untimed, against the generated
// entries before it is measured.
#include <Poco/AutoPtr.h>
#include <Poco/Util/PropertyFileConfiguration.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <ini.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cstring>
#include <functional>
#include <map>
#include <optional>

#include "bench_cases.h"
#include "inputs.h"

namespace ktbench {
namespace {

using PrefMap = std::map<std::string, std::string>;
using Lookup = std::function<std::optional<std::string>(const std::string& key)>;

// Compares about 64 entries spread over the set (path values are skipped:
// ktbase expands their tokens on read). Empty when all match.
std::string Mismatch(const std::vector<Entry>& entries, const Lookup& lookup) {
  const std::size_t step = entries.size() / 64 + 1;
  for (std::size_t i = 0; i < entries.size(); i += step) {
    const Entry& entry = entries[i];
    if (entry.kind == Kind::kPath) continue;
    const std::optional<std::string> got = lookup(entry.key);
    if (!got || *got != entry.value) {
      return "wrong value for " + entry.key + ": '" + got.value_or("<missing>") + "'";
    }
  }
  return std::string();
}

std::string ReadWhole(const std::string& path) {
  std::string text;
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return text;
  struct stat info {};
  if (fstat(fd, &info) == 0 && info.st_size > 0) {
    text.resize(static_cast<std::size_t>(info.st_size));
    std::size_t done = 0;
    while (done < text.size()) {
      const ssize_t got = read(fd, text.data() + done, text.size() - done);
      if (got <= 0) break;
      done += static_cast<std::size_t>(got);
    }
    text.resize(done);
  }
  close(fd);
  return text;
}

// The floor's parser: split, trim spaces, insert (a later key wins, except
// with `hint`, which assumes sorted unique keys).
void FloorParse(const std::string& text, PrefMap& map, bool hint) {
  const char* p = text.data();
  const char* const end = p + text.size();
  while (p < end) {
    const char* eol = static_cast<const char*>(std::memchr(p, '\n', end - p));
    if (!eol) eol = end;
    const char* eq = static_cast<const char*>(std::memchr(p, '=', eol - p));
    if (eq) {
      const char* kb = p;
      const char* ke = eq;
      while (kb < ke && *kb == ' ') ++kb;
      while (ke > kb && ke[-1] == ' ') --ke;
      const char* vb = eq + 1;
      const char* ve = eol;
      while (vb < ve && *vb == ' ') ++vb;
      while (ve > vb && ve[-1] == ' ') --ve;
      if (hint) {
        map.emplace_hint(map.end(), std::piecewise_construct, std::forward_as_tuple(kb, ke - kb),
                         std::forward_as_tuple(vb, ve - vb));
      } else {
        map.insert_or_assign(std::string(kb, ke - kb), std::string(vb, ve - vb));
      }
    }
    p = eol + 1;
  }
}

std::optional<std::string> FindIn(const PrefMap& map, const std::string& key) {
  const auto it = map.find(key);
  if (it == map.end()) return std::nullopt;
  return it->second;
}

void LoadKtbase(benchmark::State& state, std::size_t count, bool sorted) {
  const std::string path = PrefFile(count, sorted);
  std::unique_ptr<IKTPrefManager> manager = NewManager();
  manager->Configure(path, IKTPrefManager::ePrefSite);
  manager->LoadFromDisk(IKTPrefManager::ePrefSite);
  const std::string error = Mismatch(Entries(count), [&](const std::string& key) {
    std::string value;
    const std::string missing = "<missing>";
    manager->GetPref(key, missing, value, true);
    return value == missing ? std::nullopt : std::optional<std::string>(value);
  });
  if (!error.empty()) return state.SkipWithError(error.c_str());
  for (auto _ : state) {
    // Naming the scope's file again clears its loaded flag, so this reads.
    manager->Configure(path, IKTPrefManager::ePrefSite);
    benchmark::DoNotOptimize(manager->LoadFromDisk(IKTPrefManager::ePrefSite));
  }
}

int InihHandler(void* user, const char* /*section*/, const char* name, const char* value) {
  (*static_cast<PrefMap*>(user))[name] = value;
  return 1;
}

void LoadInih(benchmark::State& state, std::size_t count, bool sorted) {
  const std::string path = PrefFile(count, sorted);
  {
    PrefMap map;
    if (ini_parse(path.c_str(), InihHandler, &map) != 0 || map.size() != count) {
      return state.SkipWithError("inih did not read every line");
    }
    const std::string error =
        Mismatch(Entries(count), [&](const std::string& key) { return FindIn(map, key); });
    if (!error.empty()) return state.SkipWithError(error.c_str());
  }
  for (auto _ : state) {
    PrefMap map;
    benchmark::DoNotOptimize(ini_parse(path.c_str(), InihHandler, &map));
  }
}

void LoadPtree(benchmark::State& state, std::size_t count, bool sorted) {
  namespace pt = boost::property_tree;
  const std::string path = PrefFile(count, sorted);
  {
    pt::ptree tree;
    pt::read_ini(path, tree);
    if (tree.size() != count) return state.SkipWithError("read_ini did not read every line");
    const std::string error = Mismatch(Entries(count), [&](const std::string& key) {
      const auto child = tree.find(key);  // flat: keys hold dots
      return child == tree.not_found() ? std::nullopt
                                       : std::optional<std::string>(child->second.data());
    });
    if (!error.empty()) return state.SkipWithError(error.c_str());
  }
  for (auto _ : state) {
    pt::ptree tree;
    pt::read_ini(path, tree);
    benchmark::DoNotOptimize(tree.size());
  }
}

void LoadPoco(benchmark::State& state, std::size_t count, bool sorted) {
  using Poco::Util::PropertyFileConfiguration;
  const std::string path = PrefFile(count, sorted);
  {
    Poco::AutoPtr<PropertyFileConfiguration> config(new PropertyFileConfiguration(path));
    const std::string error = Mismatch(Entries(count), [&](const std::string& key) {
      return config->has(key) ? std::optional<std::string>(config->getRawString(key))
                              : std::nullopt;
    });
    if (!error.empty()) return state.SkipWithError(error.c_str());
  }
  for (auto _ : state) {
    Poco::AutoPtr<PropertyFileConfiguration> config(new PropertyFileConfiguration(path));
    benchmark::DoNotOptimize(config.get());
  }
}

void LoadFloor(benchmark::State& state, std::size_t count, bool sorted, bool hint) {
  const std::string path = PrefFile(count, sorted);
  {
    PrefMap map;
    FloorParse(ReadWhole(path), map, hint);
    if (map.size() != count) return state.SkipWithError("the floor did not read every line");
    const std::string error =
        Mismatch(Entries(count), [&](const std::string& key) { return FindIn(map, key); });
    if (!error.empty()) return state.SkipWithError(error.c_str());
  }
  for (auto _ : state) {
    PrefMap map;
    FloorParse(ReadWhole(path), map, hint);
    benchmark::DoNotOptimize(map.size());
  }
}

}  // namespace

void RegisterLoadBenchmarks() {
  for (const Size& size : Sizes()) {
    for (const bool sorted : {true, false}) {
      const std::string variant = std::string(size.label) + (sorted ? "_sorted" : "_shuffled");
      const std::size_t n = size.count;
      benchmark::RegisterBenchmark(CaseName("Load", variant, "floor").c_str(), LoadFloor, n, sorted,
                                   sorted);
      if (sorted) {
        benchmark::RegisterBenchmark(CaseName("Load", variant, "floor_map").c_str(), LoadFloor, n,
                                     sorted, false);
      }
      benchmark::RegisterBenchmark(CaseName("Load", variant, "ktbase").c_str(), LoadKtbase, n,
                                   sorted);
      benchmark::RegisterBenchmark(CaseName("Load", variant, "inih").c_str(), LoadInih, n, sorted);
      benchmark::RegisterBenchmark(CaseName("Load", variant, "ptree").c_str(), LoadPtree, n,
                                   sorted);
      benchmark::RegisterBenchmark(CaseName("Load", variant, "poco").c_str(), LoadPoco, n, sorted);
    }
  }
}

}  // namespace ktbench
