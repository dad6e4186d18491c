// The cache of verdicts: one text file of entries keyed by what identifies a
// module file's content cheaply, and the note of the module being loaded in
// process beside it.
#ifndef KTBASE_PLUGINHOST_VERDICT_CACHE_H
#define KTBASE_PLUGINHOST_VERDICT_CACHE_H

#include <ktbase/ktpluginhost.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace ktpluginhost {

// A file changes (for the cache) when any of these does.
struct FileKey {
  std::uint64_t device = 0, inode = 0, size = 0;
  std::int64_t mtimeNs = 0;
  bool operator==(const FileKey& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           mtimeNs == other.mtimeNs;
  }
};

// stat() of `path` (links followed); false when it fails.
bool KeyOf(const std::string& path, FileKey& key);

struct CacheEntry {
  FileKey key;
  Verdict verdict = Verdict::kFailed;
  std::string reason;
  PluginRecord record;
};

// Not thread-safe. Nothing here throws but std::bad_alloc.
class VerdictCache {
 public:
  // An empty `file` means no cache: nothing is read or written.
  explicit VerdictCache(std::string file) : m_file(std::move(file)) {}
  // Removes the note file when no note is pending.
  ~VerdictCache();
  VerdictCache(const VerdictCache&) = delete;
  VerdictCache& operator=(const VerdictCache&) = delete;

  // Reads the file. A missing file is an empty cache; so is a damaged one
  // (every module is probed again and the file rewritten).
  void Load();
  // Writes the file when an entry changed since Load(): a temporary file in
  // the same folder, synced, then renamed over it. False, with a one-line
  // `error`, when it cannot (the entries stay, to be written next time).
  bool Save(std::string& error);

  // The entry of `path` when its key is still `key`, else null.
  const CacheEntry* Find(const std::string& path, const FileKey& key) const;
  void Put(const std::string& path, const CacheEntry& entry);
  // Drops the entries of `path` and of any path naming the same file.
  bool Forget(const std::string& path);
  // Drops entries of files directly in `folder` that are not in `present`.
  void Prune(const std::string& folder, const std::set<std::string>& present);

  // The note that this process is loading `path`, in "<file>.loading"; an
  // empty file is no note. The file stays open between loads: a note and its
  // clearing cost a write and a truncation, not a file each.
  void NoteLoading(const std::string& path, const FileKey& key);
  void ClearLoading();
  // Reads and removes a note left by a process that died while loading.
  bool TakeLoadingNote(std::string& path, FileKey& key);
  // Removes the note file (after closing it, when open).
  void RemoveLoadingNote();

  const std::string& File() const { return m_file; }

 private:
  std::string m_file;
  std::map<std::string, CacheEntry> m_entries;
  bool m_changed = false;
  int m_noteFd = -1;
  bool m_notePending = false;
};

// The cache's text: one header line, then one line per entry (exposed for
// the tests and the fuzz target). Parse() returns false, leaving `entries`
// empty, on any defect.
std::string Format(const std::map<std::string, CacheEntry>& entries);
bool Parse(const std::string& text, std::map<std::string, CacheEntry>& entries);

}  // namespace ktpluginhost

#endif  // KTBASE_PLUGINHOST_VERDICT_CACHE_H
