// Registry lookups in a live system holding 1,000 singletons (all created),
// 1,000 named objects and 1,000 component factories. Each iteration asks for
// the next name of a fixed shuffled order, passed as `const char*` as plug-ins
// do.
//
// Floor: one find in a std::map<std::string, ..., std::less<>> with the name
// as a std::string_view (no key string built); for CreateComponent also the
// factory call and the delete that every implementation pays.
// "floor_string" is the plain std::map<std::string, ...>::find with the
// `const char*` name, which builds a std::string key (on the heap for names
// longer than 15 characters), for information.
#include <benchmark/benchmark.h>
#include <ktbase/idestroy.h>
#include <ktbase/isingleton.h>
#include <ktbase/ktbase.h>

#include <algorithm>
#include <map>
#include <random>
#include <string_view>

#include "bench_cases.h"
#include "inputs.h"

namespace ktbench {
namespace {

constexpr std::size_t kNames = 1000;

class Service : public qrn::IBase, public qrn::IDestroy, public qrn::ISingleton {
 public:
  const char* GetClsName() override { return "Bench.Service"; }
  void Init() override {}
  void Term() override {}
};

class Component : public qrn::IBase {
 public:
  const char* GetClsName() override { return "Bench.Component"; }
};

qrn::IBase* MakeService() { return new Service; }
qrn::IBase* MakeComponent() { return new Component; }

using Factory = qrn::IBase* (*)();

struct RegistrySetup {
  qrn::ISystem* system = nullptr;
  std::vector<std::string> names;
  std::vector<const char*> order;  // names in a fixed shuffled order
  std::vector<std::unique_ptr<Component>> named;
  std::map<std::string, qrn::IBase*> objects;  // found with a key string
  std::map<std::string, qrn::IBase*, std::less<>> objectsSv;
  std::map<std::string, Factory, std::less<>> factories;
};

RegistrySetup* g_setup = nullptr;

RegistrySetup& Setup() {
  if (g_setup) return *g_setup;
  g_setup = new RegistrySetup;
  RegistrySetup& s = *g_setup;
  char program[] = "ktbase_bench";
  char* argv[] = {program, nullptr};
  s.system = qrnInitSystem(false, 1, argv);
  s.names = ClassNames(kNames);
  for (const std::string& name : s.names) {
    s.system->RegisterSingleton(name.c_str(), MakeService);
    s.system->GetSingleton(name.c_str());
    s.named.push_back(std::make_unique<Component>());
    s.system->SetNamedObject(name.c_str(), s.named.back().get());
    s.system->RegisterComponent(name.c_str(), MakeComponent);
    s.objects[name] = s.named.back().get();
    s.objectsSv[name] = s.named.back().get();
    s.factories[name] = MakeComponent;
  }
  for (const std::string& name : s.names) s.order.push_back(name.c_str());
  std::shuffle(s.order.begin(), s.order.end(), std::mt19937(9u));
  return s;
}

// Runs `lookup` over the names; `check` first verifies every name untimed.
template <typename Lookup, typename Check>
void Run(benchmark::State& state, Lookup lookup, Check check) {
  RegistrySetup& s = Setup();
  for (const char* name : s.order) {
    if (!check(name)) {
      const std::string error = std::string("wrong object for ") + name;
      return state.SkipWithError(error.c_str());
    }
  }
  std::size_t next = 0;
  for (auto _ : state) {
    lookup(s.order[next]);
    if (++next == s.order.size()) next = 0;
  }
}

void GetSingletonKtbase(benchmark::State& state) {
  qrn::ISystem* system = Setup().system;
  Run(
      state, [&](const char* name) { benchmark::DoNotOptimize(system->GetSingleton(name)); },
      [&](const char* name) {
        qrn::IBase* object = system->GetSingleton(name);
        return object && object == system->GetSingleton(name) &&
               std::string_view(object->GetClsName()) == "Bench.Service";
      });
}

void GetNamedObjectKtbase(benchmark::State& state) {
  RegistrySetup& s = Setup();
  Run(
      state, [&](const char* name) { benchmark::DoNotOptimize(s.system->GetNamedObject(name)); },
      [&](const char* name) { return s.system->GetNamedObject(name) == s.objects.at(name); });
}

void CreateComponentKtbase(benchmark::State& state) {
  qrn::ISystem* system = Setup().system;
  Run(
      state,
      [&](const char* name) {
        qrn::IBase* object = system->CreateComponent(name);
        benchmark::DoNotOptimize(object);
        delete object;
      },
      [&](const char* name) {
        std::unique_ptr<qrn::IBase> object(system->CreateComponent(name));
        return object && std::string_view(object->GetClsName()) == "Bench.Component";
      });
}

void FindFloorString(benchmark::State& state) {
  RegistrySetup& s = Setup();
  Run(
      state,
      [&](const char* name) {
        const auto it = s.objects.find(name);
        benchmark::DoNotOptimize(it == s.objects.end() ? nullptr : it->second);
      },
      [&](const char* name) { return s.objects.count(name) == 1; });
}

void FindFloor(benchmark::State& state) {
  RegistrySetup& s = Setup();
  Run(
      state,
      [&](const char* name) {
        const auto it = s.objectsSv.find(std::string_view(name));
        benchmark::DoNotOptimize(it == s.objectsSv.end() ? nullptr : it->second);
      },
      [&](const char* name) { return s.objectsSv.count(std::string_view(name)) == 1; });
}

void CreateFloor(benchmark::State& state) {
  RegistrySetup& s = Setup();
  Run(
      state,
      [&](const char* name) {
        const auto it = s.factories.find(std::string_view(name));
        qrn::IBase* object = it == s.factories.end() ? nullptr : it->second();
        benchmark::DoNotOptimize(object);
        delete object;
      },
      [&](const char* name) { return s.factories.count(std::string_view(name)) == 1; });
}

}  // namespace

void RegisterRegistryBenchmarks() {
  struct Case {
    const char* variant;
    void (*ktbase)(benchmark::State&);
    void (*floor)(benchmark::State&);
  };
  const Case cases[] = {{"GetSingleton", GetSingletonKtbase, FindFloor},
                        {"GetNamedObject", GetNamedObjectKtbase, FindFloor},
                        {"CreateComponent", CreateComponentKtbase, CreateFloor}};
  for (const Case& c : cases) {
    benchmark::RegisterBenchmark(CaseName("Registry", c.variant, "floor").c_str(), c.floor);
    if (c.floor == FindFloor) {
      benchmark::RegisterBenchmark(CaseName("Registry", c.variant, "floor_string").c_str(),
                                   FindFloorString);
    }
    benchmark::RegisterBenchmark(CaseName("Registry", c.variant, "ktbase").c_str(), c.ktbase);
  }
}

void FinishRegistryBenchmarks() {
  if (!g_setup) return;
  qrnExitSystem();  // Term() and destroys the 1,000 singletons
  delete g_setup;
  g_setup = nullptr;
}

}  // namespace ktbench
