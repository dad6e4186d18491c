// Typed reads through three scopes: user (100 keys), project (100) and site
// (1,000). Per type (string, path, int, float, bool, list) and per placement:
// a hit in the user scope, a hit in the site scope only (so user and project
// are searched first), and a miss. Each iteration reads the next of up to 64
// keys of that kind, in a fixed shuffled order.
//
// Peers: Poco LayeredConfiguration over three MapConfiguration layers, and
// three Boost property trees asked in turn with get_optional<T>. Neither has
// path tokens, so for "path" they replace the tokens after reading, as a user
// of theirs would. Floor: one std::map::find in the one map that answers,
// as if the right scope were known in advance (the user scope's map for a
// user hit, the site scope's for a site hit, a map merging all three for a
// miss), plus the cheapest standard conversion (assign, std::from_chars, a
// comparison, a split).
//
// Every implementation's result for every key is compared, untimed, with the
// floor's before it is measured.
#include <Poco/AutoPtr.h>
#include <Poco/Util/LayeredConfiguration.h>
#include <Poco/Util/MapConfiguration.h>
#include <benchmark/benchmark.h>
#include <ktbase/ktappdatapath.h>
#include <ktbase/ktpaths.h>

#include <algorithm>
#include <boost/property_tree/ptree.hpp>
#include <charconv>
#include <cmath>
#include <map>
#include <random>
#include <set>

#include "bench_cases.h"
#include "inputs.h"

namespace ktbench {
namespace {

using PrefMap = std::map<std::string, std::string>;

enum class Placement { kUser, kSite, kMiss };
const char* PlacementName(Placement where) {
  switch (where) {
    case Placement::kUser:
      return "user";
    case Placement::kSite:
      return "site";
    case Placement::kMiss:
      return "miss";
  }
  return "?";
}

constexpr int kDefaultInt = -1;
constexpr float kDefaultFloat = -1.0f;
constexpr bool kDefaultBool = false;
constexpr std::size_t kKeysPerCase = 64;

// Everything one read may produce; each type fills its own field.
struct Out {
  std::string text;
  int number = 0;
  float real = 0.0f;
  bool flag = false;
  std::vector<std::string> list;
};

struct ReadSetup {
  std::unique_ptr<IKTPrefManager> manager;
  PrefMap userMap, siteMap, merged;
  const PrefMap* floorMap = &merged;  // set by each benchmark for its placement
  Poco::AutoPtr<Poco::Util::LayeredConfiguration> poco;
  boost::property_tree::ptree trees[3];  // user, project, site
  // Token and replacement, in ascending token order (as the library expands).
  std::vector<std::pair<std::string, std::string>> tokens;
  std::string defaultText = "default";
  std::vector<std::string> defaultList = {"default"};
  std::map<std::pair<Kind, Placement>, std::vector<std::string>> keys;
};

ReadSetup& Setup() {
  static ReadSetup* setup = [] {
    auto* s = new ReadSetup;  // kept to the end of the process
    const std::vector<Entry> scopes[3] = {MakeEntries(100, 103u), MakeEntries(100, 102u),
                                          MakeEntries(1000, 101u)};
    const IKTPrefManager::EPrefType types[3] = {
        IKTPrefManager::ePrefUser, IKTPrefManager::ePrefProject, IKTPrefManager::ePrefSite};
    s->manager = NewManager();
    s->poco = new Poco::Util::LayeredConfiguration;
    for (int scope = 0; scope < 3; ++scope) {
      Poco::AutoPtr<Poco::Util::MapConfiguration> layer(new Poco::Util::MapConfiguration);
      for (const Entry& entry : scopes[scope]) {
        s->manager->SetPref(entry.key, entry.value, types[scope]);
        layer->setString(entry.key, entry.value);
        s->trees[scope].put(entry.key, entry.value);
      }
      s->poco->add(Poco::Util::AbstractConfiguration::Ptr(layer), scope);  // lower wins
    }
    for (int scope = 2; scope >= 0; --scope) {
      for (const Entry& entry : scopes[scope]) s->merged[entry.key] = entry.value;
    }
    for (const Entry& entry : scopes[0]) s->userMap[entry.key] = entry.value;
    for (const Entry& entry : scopes[2]) s->siteMap[entry.key] = entry.value;
    s->tokens = {{"<APPDATA_DIR>", CKTAppDataPath("", CKTAppDataPath::eAppDataUser).string()},
                 {"<ROOT_DIR>", KTGetRootDir()}};

    std::set<std::string> upper;
    for (int scope = 0; scope < 2; ++scope) {
      for (const Entry& entry : scopes[scope]) upper.insert(entry.key);
    }
    std::mt19937 rng(5u);
    for (const Kind kind :
         {Kind::kString, Kind::kPath, Kind::kInt, Kind::kFloat, Kind::kBool, Kind::kList}) {
      std::vector<std::string>& user = s->keys[{kind, Placement::kUser}];
      std::vector<std::string>& site = s->keys[{kind, Placement::kSite}];
      std::vector<std::string>& miss = s->keys[{kind, Placement::kMiss}];
      for (const Entry& entry : scopes[0]) {
        if (entry.kind == kind) user.push_back(entry.key);
      }
      for (const Entry& entry : scopes[2]) {
        if (entry.kind == kind && !upper.count(entry.key)) site.push_back(entry.key);
      }
      for (std::size_t i = 0; i < kKeysPerCase; ++i) miss.push_back(MissingKey(kind, i));
      for (std::vector<std::string>* list : {&user, &site, &miss}) {
        std::shuffle(list->begin(), list->end(), rng);
        if (list->size() > kKeysPerCase) list->resize(kKeysPerCase);
      }
    }
    return s;
  }();
  return *setup;
}

void Expand(const ReadSetup& s, std::string& text) {
  for (const auto& token : s.tokens) {
    std::string::size_type at = text.find(token.first);
    while (at != std::string::npos) {
      text.replace(at, token.first.size(), token.second);
      at = text.find(token.first, at + token.second.size());
    }
  }
}

template <Kind K>
void ReadKtbase(ReadSetup& s, const std::string& key, Out& out) {
  IKTPrefManager& m = *s.manager;
  if constexpr (K == Kind::kString || K == Kind::kPath) {
    m.GetPref(key, s.defaultText, out.text, false);
  } else if constexpr (K == Kind::kInt) {
    m.GetPref(key, kDefaultInt, out.number, false);
  } else if constexpr (K == Kind::kFloat) {
    m.GetPref(key, kDefaultFloat, out.real, false);
  } else if constexpr (K == Kind::kBool) {
    m.GetPref(key, kDefaultBool, out.flag, false);
  } else {
    out.list.clear();  // the library appends
    m.GetPref(key, kListSeparator, s.defaultList, out.list, false);
  }
}

template <Kind K>
void ReadFloor(ReadSetup& s, const std::string& key, Out& out) {
  const auto it = s.floorMap->find(key);
  const std::string* text = it == s.floorMap->end() ? nullptr : &it->second;
  if constexpr (K == Kind::kString || K == Kind::kPath) {
    out.text = text ? *text : s.defaultText;
    if constexpr (K == Kind::kPath) Expand(s, out.text);
  } else if constexpr (K == Kind::kInt) {
    out.number = kDefaultInt;
    if (text && !text->empty()) {
      int parsed = 0;  // stays 0 when no digit can be read, as in the library
      std::from_chars(text->data(), text->data() + text->size(), parsed);
      out.number = parsed;
    }
  } else if constexpr (K == Kind::kFloat) {
    out.real = kDefaultFloat;
    if (text && !text->empty()) {
      float parsed = 0.0f;
      std::from_chars(text->data(), text->data() + text->size(), parsed);
      out.real = parsed;
    }
  } else if constexpr (K == Kind::kBool) {
    out.flag = text && !text->empty() ? (*text == "true" || *text == "1") : kDefaultBool;
  } else {
    out.list.clear();
    if (text) {
      SplitInto(*text, kListSeparator, out.list);
    } else {
      out.list = s.defaultList;
    }
  }
}

template <Kind K>
void ReadPoco(ReadSetup& s, const std::string& key, Out& out) {
  const Poco::Util::LayeredConfiguration& c = *s.poco;
  if constexpr (K == Kind::kString || K == Kind::kPath) {
    out.text = c.getString(key, s.defaultText);
    if constexpr (K == Kind::kPath) Expand(s, out.text);
  } else if constexpr (K == Kind::kInt) {
    out.number = c.getInt(key, kDefaultInt);
  } else if constexpr (K == Kind::kFloat) {
    out.real = static_cast<float>(c.getDouble(key, kDefaultFloat));
  } else if constexpr (K == Kind::kBool) {
    out.flag = c.getBool(key, kDefaultBool);
  } else {
    out.list.clear();
    const std::string text = c.getString(key, std::string());
    if (text.empty()) {
      out.list = s.defaultList;
    } else {
      SplitInto(text, kListSeparator, out.list);
    }
  }
}

template <typename T>
boost::optional<T> FromTrees(const ReadSetup& s, const std::string& key) {
  for (const boost::property_tree::ptree& tree : s.trees) {
    if (boost::optional<T> value = tree.get_optional<T>(key)) return value;
  }
  return boost::none;
}

template <Kind K>
void ReadPtree(ReadSetup& s, const std::string& key, Out& out) {
  if constexpr (K == Kind::kString || K == Kind::kPath) {
    out.text = FromTrees<std::string>(s, key).value_or(s.defaultText);
    if constexpr (K == Kind::kPath) Expand(s, out.text);
  } else if constexpr (K == Kind::kInt) {
    out.number = FromTrees<int>(s, key).value_or(kDefaultInt);
  } else if constexpr (K == Kind::kFloat) {
    out.real = FromTrees<float>(s, key).value_or(kDefaultFloat);
  } else if constexpr (K == Kind::kBool) {
    out.flag = FromTrees<bool>(s, key).value_or(kDefaultBool);
  } else {
    out.list.clear();
    if (boost::optional<std::string> text = FromTrees<std::string>(s, key)) {
      SplitInto(*text, kListSeparator, out.list);
    } else {
      out.list = s.defaultList;
    }
  }
}

template <Kind K>
bool Same(const Out& a, const Out& b) {
  if constexpr (K == Kind::kString || K == Kind::kPath) return a.text == b.text;
  if constexpr (K == Kind::kInt) return a.number == b.number;
  if constexpr (K == Kind::kFloat) return std::fabs(a.real - b.real) <= 1e-6f * std::fabs(b.real);
  if constexpr (K == Kind::kBool) return a.flag == b.flag;
  return a.list == b.list;
}

using Reader = void (*)(ReadSetup&, const std::string&, Out&);

template <Kind K>
void ReadBench(benchmark::State& state, Reader read, Placement where) {
  ReadSetup& s = Setup();
  const std::vector<std::string>& keys = s.keys[{K, where}];
  if (keys.empty()) return state.SkipWithError("no key of this kind");
  s.floorMap = where == Placement::kUser   ? &s.userMap
               : where == Placement::kSite ? &s.siteMap
                                           : &s.merged;
  for (const std::string& key : keys) {
    Out got, want;
    read(s, key, got);
    ReadFloor<K>(s, key, want);
    if (!Same<K>(got, want)) {
      const std::string error = "result differs from the floor's for " + key;
      return state.SkipWithError(error.c_str());
    }
  }
  Out out;
  std::size_t next = 0;
  for (auto _ : state) {
    read(s, keys[next], out);
    benchmark::DoNotOptimize(out);
    if (++next == keys.size()) next = 0;
  }
}

template <Kind K>
void RegisterKind() {
  const struct {
    const char* name;
    Reader read;
  } impls[] = {{"floor", ReadFloor<K>},
               {"ktbase", ReadKtbase<K>},
               {"poco", ReadPoco<K>},
               {"ptree", ReadPtree<K>}};
  for (const Placement where : {Placement::kUser, Placement::kSite, Placement::kMiss}) {
    const std::string variant = std::string(KindName(K)) + '_' + PlacementName(where);
    for (const auto& impl : impls) {
      benchmark::RegisterBenchmark(CaseName("Read", variant, impl.name).c_str(), ReadBench<K>,
                                   impl.read, where);
    }
  }
}

}  // namespace

void RegisterReadBenchmarks() {
  RegisterKind<Kind::kString>();
  RegisterKind<Kind::kPath>();
  RegisterKind<Kind::kInt>();
  RegisterKind<Kind::kFloat>();
  RegisterKind<Kind::kBool>();
  RegisterKind<Kind::kList>();
}

}  // namespace ktbench
