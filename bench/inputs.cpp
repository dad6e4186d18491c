#include "inputs.h"

#include <stdlib.h>
#include <sys/statfs.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>

namespace ktbench {
namespace {

const char* const kSections[] = {"Render",  "Plugins",   "Cache",     "Viewer",  "Network",
                                 "Import",  "Export",    "Interface", "Audio",   "Scene",
                                 "Physics", "Animation", "Script",    "Tools",   "Log",
                                 "Project", "Window",    "Input",     "Shading", "Texture"};
const char* const kSubs[] = {"Viewer",   "Panel",    "Exporter", "Importer", "Renderer",
                             "Browser",  "Outliner", "Timeline", "Console",  "Inspector",
                             "Shelf",    "Palette",  "Layer",    "Camera",   "Light",
                             "Material", "Mesh",     "Curve",    "Brush",    "Node"};
const char* const kWords[] = {"High",    "Low",    "Medium",  "Tessel", "Viewer", "Default",
                              "Dark",    "Light",  "Fast",    "Slow",   "Linear", "Cubic",
                              "Nearest", "Auto",   "Manual",  "Red",    "Green",  "Blue",
                              "north",   "south",  "mesh",    "curve",  "scene",  "node",
                              "brush",   "Studio", "Classic", "Modern", "alpha",  "beta"};

struct Leaf {
  const char* name;
  Kind kind;
};
const Leaf kLeaves[] = {
    {"Enabled", Kind::kBool}, {"Visible", Kind::kBool},  {"AutoSave", Kind::kBool},
    {"UseGpu", Kind::kBool},  {"Quality", Kind::kInt},   {"Size", Kind::kInt},
    {"Count", Kind::kInt},    {"Timeout", Kind::kInt},   {"Port", Kind::kInt},
    {"Scale", Kind::kFloat},  {"Opacity", Kind::kFloat}, {"Gamma", Kind::kFloat},
    {"Ratio", Kind::kFloat},  {"Name", Kind::kString},   {"Title", Kind::kString},
    {"Mode", Kind::kString},  {"Theme", Kind::kString},  {"Path", Kind::kPath},
    {"Path", Kind::kPath},    {"Path", Kind::kPath},     {"Recent", Kind::kList},
    {"Items", Kind::kList},   {"Filters", Kind::kList}};

// Keys every set holds, whatever its seed.
const Entry kWellKnown[] = {
    {"Render.Quality", "3", Kind::kInt},
    {"Plugins.Viewer.Enabled", "true", Kind::kBool},
    {"Cache.Path", "<ROOT_DIR>/cache", Kind::kPath},
};

template <typename T, std::size_t N>
const T& Pick(std::mt19937& rng, const T (&array)[N]) {
  return array[std::uniform_int_distribution<std::size_t>(0, N - 1)(rng)];
}

std::string Lower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

std::string MakeValue(std::mt19937& rng, Kind kind, const std::string& sub) {
  std::ostringstream out;  // default formatting, as the library's setters
  switch (kind) {
    case Kind::kBool:
      out << (rng() % 2 ? "true" : "false");
      break;
    case Kind::kInt:
      out << std::uniform_int_distribution<int>(-100, 65535)(rng);
      break;
    case Kind::kFloat:
      out << std::uniform_real_distribution<float>(0.0f, 10.0f)(rng);
      break;
    case Kind::kString: {
      const int words = 1 + static_cast<int>(rng() % 3);
      for (int i = 0; i < words; ++i) out << (i ? " " : "") << Pick(rng, kWords);
      break;
    }
    case Kind::kPath:
      out << (rng() % 4 ? "<ROOT_DIR>" : "<APPDATA_DIR>") << '/' << Lower(sub) << '/'
          << Lower(Pick(rng, kWords));
      break;
    case Kind::kList: {
      const int items = 2 + static_cast<int>(rng() % 4);
      for (int i = 0; i < items; ++i) {
        if (i) out << kListSeparator;
        out << Pick(rng, kWords);
      }
      break;
    }
  }
  return out.str();
}

std::map<std::size_t, std::vector<Entry>>& EntryStore() {
  static std::map<std::size_t, std::vector<Entry>> store;
  return store;
}

Workspace& MutableWork() {
  static Workspace work;
  return work;
}

std::string FsName(const std::string& dir) {
  struct statfs info {};
  if (statfs(dir.c_str(), &info) != 0) return "unknown";
  switch (static_cast<unsigned long>(info.f_type)) {
    case 0x01021994UL:
      return "tmpfs";
    case 0xEF53UL:
      return "ext4";
    case 0x58465342UL:
      return "xfs";
    case 0x9123683EUL:
      return "btrfs";
    case 0x794C7630UL:
      return "overlayfs";
    default: {
      char hex[32];
      std::snprintf(hex, sizeof hex, "0x%lx", static_cast<unsigned long>(info.f_type));
      return hex;
    }
  }
}

std::string MakeTempDir(const std::string& base) {
  std::string pattern = base + "/ktbase-bench-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) return std::string();
  return pattern;
}

bool WriteFile(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
  return static_cast<bool>(out.flush());
}

}  // namespace

const char* KindName(Kind kind) {
  switch (kind) {
    case Kind::kBool:
      return "bool";
    case Kind::kInt:
      return "int";
    case Kind::kFloat:
      return "float";
    case Kind::kString:
      return "string";
    case Kind::kPath:
      return "path";
    case Kind::kList:
      return "list";
  }
  return "?";
}

std::vector<Entry> MakeEntries(std::size_t count, unsigned seed) {
  std::mt19937 rng(seed);
  // Numbered sub-sections keep 100,000 keys distinct; number 0 is left off,
  // so plain keys such as "Plugins.Viewer.Enabled" occur too.
  const unsigned numbers = static_cast<unsigned>(count / 100 + 2);
  std::set<std::string> seen;
  std::vector<Entry> entries;
  entries.reserve(count);
  for (const Entry& known : kWellKnown) {
    if (entries.size() == count) break;
    seen.insert(known.key);
    entries.push_back(known);
  }
  while (entries.size() < count) {
    const std::string sub = Pick(rng, kSubs);
    const unsigned number = static_cast<unsigned>(rng() % numbers);
    const Leaf& leaf = Pick(rng, kLeaves);
    std::string key = std::string(Pick(rng, kSections)) + '.' + sub;
    if (number) key += std::to_string(number);
    key += '.';
    key += leaf.name;
    if (!seen.insert(key).second) continue;
    entries.push_back({std::move(key), MakeValue(rng, leaf.kind, sub), leaf.kind});
  }
  std::sort(entries.begin(), entries.end(),
            [](const Entry& a, const Entry& b) { return a.key < b.key; });
  return entries;
}

std::vector<Entry> Shuffled(std::vector<Entry> entries, unsigned seed) {
  std::mt19937 rng(seed);
  std::shuffle(entries.begin(), entries.end(), rng);
  return entries;
}

std::string FormatPrefs(const std::vector<Entry>& entries) {
  std::string text;
  for (const Entry& entry : entries) {
    text += entry.key;
    text += '=';
    text += entry.value;
    text += '\n';
  }
  return text;
}

std::string MissingKey(Kind kind, std::size_t index) {
  for (const Leaf& leaf : kLeaves) {
    if (leaf.kind == kind) return "Missing.Key" + std::to_string(index) + '.' + leaf.name;
  }
  return "Missing.Key" + std::to_string(index);
}

std::vector<std::string> ClassNames(std::size_t count) {
  constexpr std::size_t kSectionCount = sizeof kSections / sizeof kSections[0];
  constexpr std::size_t kSubCount = sizeof kSubs / sizeof kSubs[0];
  std::vector<std::string> names;
  names.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t number = i / (kSectionCount * kSubCount);
    std::string name = std::string("Norvex.") + kSections[i % kSectionCount] + '.' +
                       kSubs[i / kSectionCount % kSubCount];
    if (number) name += std::to_string(number);
    names.push_back(std::move(name));
  }
  return names;
}

const std::vector<Size>& Sizes() {
  static const std::vector<Size> sizes = {{1000, "1k"}, {100000, "100k"}};
  return sizes;
}

const Workspace& Work() { return MutableWork(); }

const std::vector<Entry>& Entries(std::size_t count) {
  std::vector<Entry>& entries = EntryStore()[count];
  if (entries.empty()) entries = MakeEntries(count, 20240611u);
  return entries;
}

std::string PrefFile(std::size_t count, bool sorted) {
  return Work().diskDir + "/prefs-" + std::to_string(count) + (sorted ? "-sorted" : "-shuffled") +
         ".prefs";
}

bool SetUp() {
  Workspace& work = MutableWork();
  const char* diskBase = getenv("KTBASE_BENCH_DISK_DIR");
  std::string base = diskBase && *diskBase ? diskBase : "/var/tmp";
  if (!std::filesystem::is_directory(base)) base = "/tmp";
  work.diskDir = MakeTempDir(base);
  if (work.diskDir.empty()) {
    std::fprintf(stderr, "ktbase_bench: cannot create a folder below %s\n", base.c_str());
    return false;
  }
  work.diskFs = FsName(work.diskDir);
  if (std::filesystem::is_directory("/dev/shm") && FsName("/dev/shm") == "tmpfs") {
    work.shmDir = MakeTempDir("/dev/shm");
    work.shmFs = work.shmDir.empty() ? "" : "tmpfs";
  }

  // The preference manager puts its data folder (and user.prefs) below TMPDIR.
  const std::string tmp = work.diskDir + "/tmp";
  std::error_code error;
  std::filesystem::create_directories(tmp, error);
  setenv("TMPDIR", tmp.c_str(), 1);

  for (const Size& size : Sizes()) {
    const std::vector<Entry>& entries = Entries(size.count);
    if (!WriteFile(PrefFile(size.count, true), FormatPrefs(entries)) ||
        !WriteFile(PrefFile(size.count, false), FormatPrefs(Shuffled(entries, 7u)))) {
      std::fprintf(stderr, "ktbase_bench: cannot write the input files in %s\n",
                   work.diskDir.c_str());
      return false;
    }
  }
  return true;
}

void TearDown() {
  Workspace& work = MutableWork();
  std::error_code error;
  if (!work.diskDir.empty()) std::filesystem::remove_all(work.diskDir, error);
  if (!work.shmDir.empty()) std::filesystem::remove_all(work.shmDir, error);
}

void SplitInto(const std::string& text, char separator, std::vector<std::string>& out) {
  std::string::size_type start = 0;
  for (;;) {
    const std::string::size_type end = text.find(separator, start);
    if (end == std::string::npos) {
      out.emplace_back(text, start);
      return;
    }
    out.emplace_back(text, start, end - start);
    start = end + 1;
  }
}

}  // namespace ktbench
