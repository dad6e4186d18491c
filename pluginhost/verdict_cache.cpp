#include "verdict_cache.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

namespace ktpluginhost {

namespace {

const char kHeader[] = "ktpluginhost-verdicts 1\n";
constexpr Verdict kVerdicts[] = {Verdict::kGood,       Verdict::kRefused, Verdict::kInvalid,
                                 Verdict::kFailed,     Verdict::kCrashed, Verdict::kHung,
                                 Verdict::kHostCrashed};
constexpr std::size_t kFields = 12;

// Tabs and line feeds separate fields and entries; a backslash escapes them.
std::string Escape(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    if (c == '\\' || c == '\t' || c == '\n') {
      out += '\\';
      out += c == '\t' ? 't' : c == '\n' ? 'n' : '\\';
    } else {
      out += c;
    }
  }
  return out;
}

bool Unescape(const std::string& text, std::string& out) {
  out.clear();
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      out += text[i];
      continue;
    }
    if (++i == text.size()) return false;
    const char c = text[i];
    if (c != 't' && c != 'n' && c != '\\') return false;
    out += c == 't' ? '\t' : c == 'n' ? '\n' : '\\';
  }
  return true;
}

template <typename Number>
bool ParseNumber(const std::string& text, Number& value) {
  const char* const end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data(), end, value);
  return !text.empty() && result.ec == std::errc() && result.ptr == end;
}

std::string Line(const std::string& path, const CacheEntry& entry) {
  const FileKey& key = entry.key;
  const PluginRecord& record = entry.record;
  return Escape(path) + '\t' + std::to_string(key.device) + '\t' + std::to_string(key.inode) +
         '\t' + std::to_string(key.size) + '\t' + std::to_string(key.mtimeNs) + '\t' +
         VerdictName(entry.verdict) + '\t' + (record.present ? '1' : '0') + '\t' +
         std::to_string(record.interfaceVersion) + '\t' + Escape(record.ktbaseVersion) + '\t' +
         Escape(record.name) + '\t' + Escape(record.uid) + '\t' + Escape(entry.reason) + '\n';
}

bool ParseLine(const std::string& line, std::string& path, CacheEntry& entry) {
  std::vector<std::string> fields;
  std::size_t start = 0;
  for (std::size_t tab; (tab = line.find('\t', start)) != std::string::npos; start = tab + 1)
    fields.push_back(line.substr(start, tab - start));
  fields.push_back(line.substr(start));
  if (fields.size() != kFields) return false;
  const std::string& verdict = fields[5];
  bool known = false;
  for (const Verdict candidate : kVerdicts) {
    if (verdict == VerdictName(candidate)) {
      entry.verdict = candidate;
      known = true;
    }
  }
  PluginRecord& record = entry.record;
  record.present = fields[6] == "1";
  return known && (record.present || fields[6] == "0") && Unescape(fields[0], path) &&
         !path.empty() && ParseNumber(fields[1], entry.key.device) &&
         ParseNumber(fields[2], entry.key.inode) && ParseNumber(fields[3], entry.key.size) &&
         ParseNumber(fields[4], entry.key.mtimeNs) &&
         ParseNumber(fields[7], record.interfaceVersion) &&
         Unescape(fields[8], record.ktbaseVersion) && Unescape(fields[9], record.name) &&
         Unescape(fields[10], record.uid) && Unescape(fields[11], entry.reason);
}

bool ReadFile(const std::string& file, std::string& text) {
  text.clear();
  std::FILE* stream = std::fopen(file.c_str(), "rbe");
  if (stream == nullptr) return false;
  char buffer[8192];
  std::size_t got;
  while ((got = std::fread(buffer, 1, sizeof buffer, stream)) > 0) text.append(buffer, got);
  const bool ok = std::ferror(stream) == 0;
  std::fclose(stream);
  return ok;
}

// Writes `text` to a new file beside `file` and renames it over `file`.
bool WriteAtomically(const std::string& file, const std::string& text) {
  std::string temporary = file + ".XXXXXX";
  const int fd = mkostemp(temporary.data(), O_CLOEXEC);
  if (fd < 0) return false;
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t wrote = write(fd, text.data() + done, text.size() - done);
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) break;
    done += static_cast<std::size_t>(wrote);
  }
  const bool written = done == text.size() && fchmod(fd, 0644) == 0 && fsync(fd) == 0;
  const bool closed = close(fd) == 0;
  if (written && closed && std::rename(temporary.c_str(), file.c_str()) == 0) return true;
  unlink(temporary.c_str());
  return false;
}

}  // namespace

bool KeyOf(const std::string& path, FileKey& key) {
  struct stat info {};
  if (stat(path.c_str(), &info) != 0) return false;
  key.device = info.st_dev;
  key.inode = info.st_ino;
  key.size = static_cast<std::uint64_t>(info.st_size);
  key.mtimeNs = static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec;
  return true;
}

std::string Format(const std::map<std::string, CacheEntry>& entries) {
  std::string text = kHeader;
  for (const auto& entry : entries) text += Line(entry.first, entry.second);
  return text;
}

bool Parse(const std::string& text, std::map<std::string, CacheEntry>& entries) {
  entries.clear();
  // A file cut anywhere but after a whole entry fails here or in its last line.
  if (text.compare(0, sizeof kHeader - 1, kHeader) != 0 || text.back() != '\n') return false;
  for (std::size_t start = sizeof kHeader - 1; start < text.size();) {
    const std::size_t end = text.find('\n', start);
    std::string path;
    CacheEntry entry;
    if (!ParseLine(text.substr(start, end - start), path, entry)) {
      entries.clear();
      return false;
    }
    entries[path] = entry;
    start = end + 1;
  }
  return true;
}

void VerdictCache::Load() {
  m_entries.clear();
  m_changed = false;
  std::string text;
  if (m_file.empty() || !ReadFile(m_file, text)) return;
  m_changed = !Parse(text, m_entries);  // a damaged file is rewritten
}

bool VerdictCache::Save(std::string& error) {
  if (m_file.empty() || !m_changed) return true;
  if (!WriteAtomically(m_file, Format(m_entries))) {
    error = "cannot write the cache " + m_file + ": " + std::strerror(errno);
    return false;
  }
  m_changed = false;
  return true;
}

const CacheEntry* VerdictCache::Find(const std::string& path, const FileKey& key) const {
  const auto found = m_entries.find(path);
  return found != m_entries.end() && found->second.key == key ? &found->second : nullptr;
}

void VerdictCache::Put(const std::string& path, const CacheEntry& entry) {
  m_entries[path] = entry;
  m_changed = true;
}

bool VerdictCache::Forget(const std::string& path) {
  FileKey key;
  const bool exists = KeyOf(path, key);
  bool forgot = false;
  for (auto entry = m_entries.begin(); entry != m_entries.end();) {
    const FileKey& other = entry->second.key;
    const bool same =
        entry->first == path || (exists && other.device == key.device && other.inode == key.inode);
    forgot = forgot || same;
    entry = same ? m_entries.erase(entry) : std::next(entry);
  }
  m_changed = m_changed || forgot;
  return forgot;
}

void VerdictCache::Prune(const std::string& folder, const std::set<std::string>& present) {
  namespace fs = std::filesystem;
  const fs::path parent = (fs::path(folder) / "x").parent_path();
  for (auto entry = m_entries.begin(); entry != m_entries.end();) {
    const bool gone =
        fs::path(entry->first).parent_path() == parent && !present.count(entry->first);
    m_changed = m_changed || gone;
    entry = gone ? m_entries.erase(entry) : std::next(entry);
  }
}

VerdictCache::~VerdictCache() {
  if (m_noteFd >= 0 && !m_notePending) RemoveLoadingNote();
  if (m_noteFd >= 0) close(m_noteFd);
}

void VerdictCache::NoteLoading(const std::string& path, const FileKey& key) {
  if (m_file.empty()) return;
  if (m_noteFd < 0)
    m_noteFd = open((m_file + ".loading").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  if (m_noteFd < 0) return;
  CacheEntry entry;
  entry.key = key;
  const std::string text = kHeader + Line(path, entry);
  // No sync: the note only has to outlive this process, not the machine.
  m_notePending =
      pwrite(m_noteFd, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()) &&
      ftruncate(m_noteFd, static_cast<off_t>(text.size())) == 0;
}

void VerdictCache::ClearLoading() {
  if (m_noteFd >= 0 && m_notePending) m_notePending = ftruncate(m_noteFd, 0) != 0;
}

void VerdictCache::RemoveLoadingNote() {
  if (m_noteFd >= 0) close(m_noteFd);
  m_noteFd = -1;
  m_notePending = false;
  if (!m_file.empty()) unlink((m_file + ".loading").c_str());
}

bool VerdictCache::TakeLoadingNote(std::string& path, FileKey& key) {
  std::string text;
  if (m_file.empty() || !ReadFile(m_file + ".loading", text)) return false;
  RemoveLoadingNote();
  std::map<std::string, CacheEntry> note;
  if (!Parse(text, note) || note.size() != 1) return false;
  path = note.begin()->first;
  key = note.begin()->second.key;
  return true;
}

}  // namespace ktpluginhost
