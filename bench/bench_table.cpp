// ktbase_bench_table: reads Google Benchmark JSON files and prints, per case,
// each implementation's median time and its ratio to the case's floor, the
// target for ktbase and whether ktbase beats every peer.
//
//   ktbase_bench_table [--markdown] [--real-time] results.json...
//
// Benchmarks are named "BM_<Case>/<variant>/<impl>". The ratio is taken
// against the impl "floor" of the same case. Impls "floor_*" (alternative
// floors) and "ktbase_*" (breakdowns) are shown but are not peers. Medians
// come from the "median" aggregates (--benchmark_repetitions > 1); without
// them, the mean of the iteration runs is used. Times are CPU times (user and
// system time of the process: robust on a shared machine, and on tmpfs and
// the page cache file writes are CPU work too), except for benchmarks that
// report a manual time (start-up), whose own measure is used; --real-time
// uses wall-clock time throughout.
// An empty file (a filter that matched nothing) is skipped. Exit status: 0
// when every file was read and every benchmark ran, 1 otherwise (a file that
// cannot be read, or a benchmark that failed its untimed check against the
// expected results); the table is printed either way. Missed targets do not
// change it.
#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cstdio>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace pt = boost::property_tree;

struct Run {
  double medianNs = 0.0;  // from the "median" aggregate
  double sumNs = 0.0;     // of the iteration runs, when there is no median
  int iterations = 0;
  bool hasMedian = false;
  std::string error;
  std::optional<double> staysLoaded;

  double Ns() const { return hasMedian ? medianNs : iterations ? sumNs / iterations : 0.0; }
};

struct Case {
  std::string name;
  std::vector<std::string> impls;  // in order of appearance
};

struct Results {
  std::map<std::string, Run> runs;  // by "case/impl"
  std::vector<Case> cases;          // in order of appearance
  std::vector<std::string> context;
};

double ToNs(double value, const std::string& unit) {
  if (unit == "us") return value * 1e3;
  if (unit == "ms") return value * 1e6;
  if (unit == "s") return value * 1e9;
  return value;
}

std::string FormatTime(double ns) {
  char text[32];
  if (ns < 1e3) {
    std::snprintf(text, sizeof text, "%.1f ns", ns);
  } else if (ns < 1e6) {
    std::snprintf(text, sizeof text, "%.2f us", ns / 1e3);
  } else if (ns < 1e9) {
    std::snprintf(text, sizeof text, "%.2f ms", ns / 1e6);
  } else {
    std::snprintf(text, sizeof text, "%.2f s", ns / 1e9);
  }
  return text;
}

bool StartsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}
bool EndsWith(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() &&
         text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// The ratio to the floor that ktbase aims for in a case, if any.
std::optional<double> TargetFor(const std::string& name) {
  if (name == "BM_Load/100k_sorted") return 1.2;
  if (name == "BM_Load/100k_shuffled") return 1.1;
  if (StartsWith(name, "BM_Save/")) return 1.2;  // against the durable floor
  // Text reads, ".Path" keys (tokens expanded) included.
  if (StartsWith(name, "BM_Read/string_") || StartsWith(name, "BM_Read/path_")) return 1.5;
  if (StartsWith(name, "BM_Read/")) return 2.0;
  if (StartsWith(name, "BM_Registry/")) return 1.3;
  if (name == "BM_Uid/parse") return 2.0;
  if (name == "BM_Uid/format") return 1.5;
  if (StartsWith(name, "BM_Startup/")) return 3.0;
  if (name == "BM_PluginRecord/read_1000") return 3.0;
  if (name == "BM_HostStart/warm_100_good_10_bad") return 1.2;
  return std::nullopt;
}

bool IsPeer(const std::string& impl) {
  return impl != "floor" && !StartsWith(impl, "floor_") && impl != "ktbase" &&
         !StartsWith(impl, "ktbase_");
}

bool Read(const char* path, bool realTime, Results& results) {
  std::ifstream in(path);
  if (!in) {
    std::fprintf(stderr, "ktbase_bench_table: cannot read %s\n", path);
    return false;
  }
  std::ostringstream text;
  text << in.rdbuf();
  if (text.str().empty()) return true;  // nothing matched the filter
  // Statistics of a constant counter (the cv of 0) come out as NaN, which
  // JSON has no word for.
  static const std::regex notANumber(R"(([:,\[]\s*)-?(NaN|nan|inf|Infinity)\b)");
  std::istringstream json(std::regex_replace(text.str(), notANumber, "$1null"));
  pt::ptree root;
  try {
    pt::read_json(json, root);
  } catch (const pt::json_parser_error& error) {
    std::fprintf(stderr, "ktbase_bench_table: %s\n", error.what());
    return false;
  }
  const pt::ptree empty;
  const pt::ptree& doc = root;
  const pt::ptree& context = doc.get_child_optional("context").value_or(empty);
  std::string line = context.get("date", "") + ", " + context.get("host_name", "") + ", " +
                     context.get("num_cpus", "?") + " CPUs at " + context.get("mhz_per_cpu", "?") +
                     " MHz";
  if (const auto load = context.get_child_optional("load_avg")) {
    line += ", load";
    for (const auto& value : *load) line += " " + value.second.data();
  }
  results.context.push_back(std::string(path) + ": " + line);

  for (const auto& item : doc.get_child_optional("benchmarks").value_or(empty)) {
    const pt::ptree& b = item.second;
    std::string runName = b.get("run_name", b.get("name", ""));
    // Drop the library's suffixes ("/iterations:50", "/manual_time"...).
    bool manual = false;
    for (std::string::size_type last = runName.rfind('/'); last != std::string::npos;
         last = runName.rfind('/')) {
      const std::string tail = runName.substr(last + 1);
      if (tail.find(':') == std::string::npos && !EndsWith(tail, "_time")) break;
      manual = manual || tail == "manual_time";
      runName.erase(last);
    }
    const std::string::size_type slash = runName.rfind('/');
    if (slash == std::string::npos) continue;
    const std::string caseName = runName.substr(0, slash);
    const std::string impl = runName.substr(slash + 1);

    auto found = results.runs.find(runName);
    if (found == results.runs.end()) {
      found = results.runs.emplace(runName, Run()).first;
      Case* c = nullptr;
      for (Case& existing : results.cases) {
        if (existing.name == caseName) c = &existing;
      }
      if (!c) {
        results.cases.push_back({caseName, {}});
        c = &results.cases.back();
      }
      c->impls.push_back(impl);
    }
    Run& run = found->second;
    if (b.get("error_occurred", false)) {
      run.error = b.get("error_message", "error");
      continue;
    }
    const char* field = manual || realTime ? "real_time" : "cpu_time";
    const double ns = ToNs(b.get(field, 0.0), b.get("time_unit", "ns"));
    const std::string type = b.get("run_type", "iteration");
    if (type == "aggregate") {
      if (b.get("aggregate_name", "") == "median") {
        run.medianNs = ns;
        run.hasMedian = true;
      }
    } else {
      run.sumNs += ns;
      ++run.iterations;
    }
    const bool statistic = type == "aggregate" && b.get("aggregate_name", "") != "median";
    if (const auto stays = b.get_optional<double>("stays_loaded")) {
      if (!statistic) run.staysLoaded = *stays;
    }
  }
  return true;
}

struct Row {
  std::string caseName, impl, time, ratio, target, verdict;
};

std::vector<Row> MakeRows(const Results& results, int& targetsMet, int& targetsSet, int& fastest,
                          int& withPeers, int& failed, std::vector<std::string>& notes) {
  std::vector<Row> rows;
  for (const Case& c : results.cases) {
    const auto floorRun = results.runs.find(c.name + "/floor");
    const double floorNs = floorRun != results.runs.end() && floorRun->second.error.empty()
                               ? floorRun->second.Ns()
                               : 0.0;
    bool first = true;
    for (const std::string& impl : c.impls) {
      const Run& run = results.runs.at(c.name + '/' + impl);
      Row row{first ? c.name : "", impl, "", "", "", ""};
      first = false;
      if (run.staysLoaded && *run.staysLoaded > 0) {
        notes.push_back(c.name + '/' + impl + ": " + std::to_string(int(*run.staysLoaded)) +
                        " object(s) stay mapped after dlclose");
      }
      if (!run.error.empty() || run.Ns() <= 0.0) {
        row.time = "error";
        ++failed;
        row.verdict = run.error.empty() ? "no result" : run.error;
        rows.push_back(row);
        continue;
      }
      row.time = FormatTime(run.Ns());
      char text[32];
      if (floorNs > 0.0) {
        std::snprintf(text, sizeof text, "%.2f", run.Ns() / floorNs);
        row.ratio = text;
      }
      if (impl == "ktbase") {
        std::string verdict;
        const std::optional<double> target = TargetFor(c.name);
        if (target && floorNs > 0.0) {
          std::snprintf(text, sizeof text, "<= %.1f", *target);
          row.target = text;
          ++targetsSet;
          const bool met = run.Ns() / floorNs <= *target;
          targetsMet += met;
          verdict = met ? "met" : "missed";
        }
        std::string slower;
        bool anyPeer = false;
        for (const std::string& other : c.impls) {
          if (!IsPeer(other)) continue;
          const Run& peer = results.runs.at(c.name + '/' + other);
          if (!peer.error.empty() || peer.Ns() <= 0.0) continue;
          anyPeer = true;
          if (peer.Ns() <= run.Ns()) slower += (slower.empty() ? "" : ", ") + other;
        }
        if (anyPeer) {
          ++withPeers;
          fastest += slower.empty();
          verdict += std::string(verdict.empty() ? "" : "; ") +
                     (slower.empty() ? "beats peers" : "slower than " + slower);
        }
        row.verdict = verdict;
      }
      rows.push_back(row);
    }
  }
  return rows;
}

void PrintText(const std::vector<Row>& rows) {
  std::printf("%-34s %-14s %12s %8s %8s  %s\n", "case", "impl", "median", "x floor", "target",
              "ktbase");
  for (const Row& row : rows) {
    if (!row.caseName.empty()) std::printf("\n");
    std::printf("%-34s %-14s %12s %8s %8s  %s\n", row.caseName.c_str(), row.impl.c_str(),
                row.time.c_str(), row.ratio.c_str(), row.target.c_str(), row.verdict.c_str());
  }
}

void PrintMarkdown(const std::vector<Row>& rows) {
  std::printf("| Case | Impl | Median | × floor | Target | ktbase |\n");
  std::printf("|---|---|---:|---:|---:|---|\n");
  for (const Row& row : rows) {
    std::string target = row.target;
    if (StartsWith(target, "<= ")) target = "≤ " + target.substr(3);
    std::printf("| %s | %s | %s | %s | %s | %s |\n",
                row.caseName.empty() ? "" : ("`" + row.caseName + "`").c_str(), row.impl.c_str(),
                row.time.c_str(), row.ratio.c_str(), target.c_str(), row.verdict.c_str());
  }
}

}  // namespace

int main(int argc, char** argv) {
  bool markdown = false;
  bool realTime = false;
  Results results;
  bool allRead = true;
  int files = 0;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--markdown") {
      markdown = true;
    } else if (arg == "--real-time") {
      realTime = true;
    } else if (arg == "-h" || arg == "--help") {
      std::printf("usage: %s [--markdown] [--real-time] results.json...\n", argv[0]);
      return 0;
    } else {
      ++files;
      allRead = Read(argv[i], realTime, results) && allRead;
    }
  }
  if (files == 0) {
    std::fprintf(stderr, "usage: %s [--markdown] [--real-time] results.json...\n", argv[0]);
    return 2;
  }

  int targetsMet = 0, targetsSet = 0, fastest = 0, withPeers = 0, failed = 0;
  std::vector<std::string> notes;
  const std::vector<Row> rows =
      MakeRows(results, targetsMet, targetsSet, fastest, withPeers, failed, notes);
  for (const std::string& line : results.context) std::printf("%s\n", line.c_str());
  std::printf("\n");
  if (markdown) {
    PrintMarkdown(rows);
  } else {
    PrintText(rows);
  }
  std::printf("\nktbase: %d of %d targets met; fastest in %d of %d cases with peers.\n", targetsMet,
              targetsSet, fastest, withPeers);
  for (const std::string& note : notes) std::printf("note: %s\n", note.c_str());
  if (failed) std::printf("%d benchmark(s) failed: see the rows marked \"error\".\n", failed);
  return allRead && failed == 0 ? 0 : 1;
}
