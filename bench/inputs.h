// Benchmark inputs, generated once at start-up: realistic preference entries
// ("Render.Quality", "Plugins.Viewer.Enabled", "Cache.Path"...) with numbers,
// words, lists and paths holding "<ROOT_DIR>", written as `key=value` files
// (byte-wise sorted, as the library writes them, and shuffled) into private
// temporary folders that are removed at exit.
//
// Everything is deterministic: the same count always gives the same entries.
#ifndef KTBASE_BENCH_INPUTS_H
#define KTBASE_BENCH_INPUTS_H

#include <cstddef>
#include <string>
#include <vector>

namespace ktbench {

// What a value holds; a key's last component decides it (".Enabled" is a
// bool, ".Path" a path, ".Recent" a list...).
enum class Kind { kBool, kInt, kFloat, kString, kPath, kList };
const char* KindName(Kind kind);

// List values join their elements with this character.
constexpr char kListSeparator = ';';

struct Entry {
  std::string key;
  std::string value;
  Kind kind;
};

// `count` distinct entries in byte-wise key order. `seed` picks the set: two
// seeds give mostly different keys from the same vocabulary.
std::vector<Entry> MakeEntries(std::size_t count, unsigned seed);
// The same entries in a fixed random order.
std::vector<Entry> Shuffled(std::vector<Entry> entries, unsigned seed);
// `key=value` lines, each ended by a line feed.
std::string FormatPrefs(const std::vector<Entry>& entries);
// A key of `kind` that MakeEntries never produces (for misses).
std::string MissingKey(Kind kind, std::size_t index);
// `count` distinct class names such as "Norvex.Render.Viewer3".
std::vector<std::string> ClassNames(std::size_t count);

// The two preference sizes every file case runs with.
struct Size {
  std::size_t count;
  const char* label;  // "1k", "100k"
};
const std::vector<Size>& Sizes();

// Generated files and folders. Set up by SetUp() before any benchmark runs.
struct Workspace {
  std::string diskDir;  // below /var/tmp (or $KTBASE_BENCH_DISK_DIR)
  std::string shmDir;   // below /dev/shm; empty when there is no tmpfs there
  std::string diskFs;   // file system type names, for the report
  std::string shmFs;
};
const Workspace& Work();

// The entries of one size (sorted) and the paths of their two files.
const std::vector<Entry>& Entries(std::size_t count);
std::string PrefFile(std::size_t count, bool sorted);

// Creates the folders, writes the files and points TMPDIR at the disk folder
// (the preference manager creates its data folder there). Returns false, with
// a message on standard error, when a folder or file cannot be made.
bool SetUp();
// Removes everything SetUp() made.
void TearDown();

// Splits `text` at `separator`, appending the pieces (empty ones kept).
void SplitInto(const std::string& text, char separator, std::vector<std::string>& out);

}  // namespace ktbench

#endif  // KTBASE_BENCH_INPUTS_H
