#include "ktprefmanager_save.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <logmanager/log.h>
#include <signal.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace ktprefsave {
namespace {

enum class Outcome { kSaved, kFailed, kNotOpened };

// A stem of at most this many bytes of the target's name keeps a new file's
// name within NAME_MAX (255) whatever the target's length.
constexpr std::size_t kStemMax = 200;
constexpr const char* kMarker = ".ktsave-";
// As the kernel's own limit on links followed in one lookup.
constexpr int kMaxLinks = 40;

int SystemOpen(const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); }

// Follows the symbolic link `path` to the name of the file it leads to, which
// need not exist (a dangling link names the file a save creates). False for a
// loop, or a chain too long to follow, which no open would follow either.
bool FollowLinks(const std::string& path, std::string& target) {
  target = path;
  for (int links = 0; links <= kMaxLinks; ++links) {
    char next[PATH_MAX];
    const ssize_t size = ::readlink(target.c_str(), next, sizeof next);
    // Not a link (EINVAL), nothing there (ENOENT), or a lookup that fails:
    // the open that follows decides.
    if (size == -1) return true;
    if (size == 0 || static_cast<std::size_t>(size) == sizeof next) return false;
    const std::string_view link(next, static_cast<std::size_t>(size));
    if (link.front() == '/')
      target.assign(link);
    else
      target.replace(target.rfind('/') + 1, std::string::npos, link);  // npos + 1 == 0
  }
  return false;
}

bool WriteAll(int file, std::string_view text, const FileOps& ops) {
  while (!text.empty()) {
    const ssize_t wrote = ops.write(file, text.data(), text.size());
    if (wrote == -1 && errno == EINTR) continue;
    if (wrote <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(wrote));
  }
  return true;
}

// As fopen(target, "w") would, with every write and the close checked.
Outcome WriteInPlace(const std::string& target, std::string_view text, const FileOps& ops) {
  const int file = ops.open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file == -1) return Outcome::kNotOpened;
  const bool written = WriteAll(file, text, ops);
  const bool closed = ops.close(file) == 0;
  return written && closed ? Outcome::kSaved : Outcome::kFailed;
}

// Errors of a new file's open or of the rename that say the folder will not
// take a new name while the target itself may still be writable (or, for a
// missing folder, that the in-place open fails the same way and reports
// nothing, as for any file that cannot be opened).
bool RefusedByFolder(int error) {
  return error == EACCES || error == EPERM || error == EROFS || error == ENOENT ||
         error == ENOTDIR || error == ENAMETOOLONG || error == ELOOP;
}

// Removes the new files of earlier saves of this target that can no longer
// finish: their process is gone (ESRCH), or it is this one. Best effort. Reads
// the open folder `dir` with getdents64 into a buffer on the stack: opendir
// would allocate 32 KiB for each save.
void RemoveLeftovers(int dir, std::string_view stem, long self) {
  alignas(dirent64) char buffer[8192];
  ssize_t size;
  while ((size = ::getdents64(dir, buffer, sizeof buffer)) > 0) {
    for (ssize_t at = 0; at < size;) {
      const auto* entry = reinterpret_cast<const dirent64*>(buffer + at);
      at += entry->d_reclen;
      std::string_view name(entry->d_name);
      if (name.substr(0, stem.size()) != stem) continue;
      name.remove_prefix(stem.size());
      char* end = nullptr;
      const long pid = std::strtol(name.data(), &end, 10);
      if (end == name.data() || *end != '-' || pid <= 0) continue;
      if (pid == self || (::kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH))
        ::unlinkat(dir, entry->d_name, 0);
    }
  }
}

// The target's folder, open for the leftover scan and the final sync (-1 when
// it cannot be read: both are then skipped). System calls give -1 on failure,
// and only then.
struct Folder {
  explicit Folder(const std::string& path)
      : fd(::open(path.empty() ? "." : path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}
  ~Folder() {
    if (fd != -1) ::close(fd);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  const int fd;
};

// A name no earlier save used: the pid, then a clock-and-counter mix (O_EXCL
// at the open catches the rare repeat).
std::string NewName(const std::string& folder, std::string_view stem, long self) {
  static std::uint64_t counter = 0;  // the library is single-threaded
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  const std::uint64_t mix =
      (static_cast<std::uint64_t>(now.tv_nsec) ^ (++counter << 32)) * 0x9E3779B97F4A7C15ull;
  std::string name = folder;
  name.append(stem).append(std::to_string(self)).append(1, '-').append(std::to_string(mix >> 40));
  return name;
}

Outcome Replace(const std::string& path, std::string_view text, const FileOps& ops) {
  struct stat old {};
  bool exists = ::lstat(path.c_str(), &old) == 0;
  std::string target = path;
  if (exists && S_ISLNK(old.st_mode)) {
    if (!FollowLinks(path, target)) return Outcome::kNotOpened;
    exists = ::stat(target.c_str(), &old) == 0;
  }
  if (exists && !S_ISREG(old.st_mode)) return WriteInPlace(target, text, ops);

  const std::size_t slash = target.rfind('/') + 1;  // npos + 1 == 0
  const std::string folder = target.substr(0, slash);
  std::string stem = ".";
  stem.append(target, slash, kStemMax).append(kMarker);
  const long self = static_cast<long>(::getpid());
  const Folder dir(folder);
  if (dir.fd != -1) RemoveLeftovers(dir.fd, stem, self);

  // Created with the old file's permission bits (less the umask): its text is
  // never shown wider than the old one was.
  std::string name;
  int file = -1;
  for (int attempt = 0; attempt < 100 && file == -1; ++attempt) {
    name = NewName(folder, stem, self);
    file = ops.open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                    exists ? old.st_mode & 0777 : 0666);
    if (file == -1 && errno != EEXIST) break;
  }
  if (file == -1)
    return RefusedByFolder(errno) ? WriteInPlace(target, text, ops) : Outcome::kFailed;

  struct stat made {};
  const bool known = exists && ::fstat(file, &made) == 0;
  // A file the process may not write stays as it is, as when it could not be
  // opened (a rename would replace it all the same). The new file's owner is
  // the process: an owner with the write bit may write; for anyone else, the
  // kernel says.
  if (exists && !(known && made.st_uid == old.st_uid && (old.st_mode & S_IWUSR)) &&
      ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) {
    ::close(file);
    ::unlink(name.c_str());
    return Outcome::kNotOpened;
  }
  if (known) {
    if (made.st_uid != old.st_uid || made.st_gid != old.st_gid) {
      // Where the owner cannot be kept, the group may still be. chown clears
      // the set-user and set-group bits: the mode is set again after it.
      static_cast<void>(::fchown(file, old.st_uid, old.st_gid) == 0 ||
                        ::fchown(file, static_cast<uid_t>(-1), old.st_gid) == 0);
      made.st_mode = ~old.st_mode;
    }
    if ((made.st_mode ^ old.st_mode) & 07777) ::fchmod(file, old.st_mode & 07777);
  }
  bool saved = WriteAll(file, text, ops) && ops.sync(file) == 0;
  saved = ops.close(file) == 0 && saved;
  int renameError = 0;
  if (saved && ops.rename(name.c_str(), target.c_str()) != 0) {
    renameError = errno;
    saved = false;
  }
  if (!saved) {
    ::unlink(name.c_str());
    return RefusedByFolder(renameError) ? WriteInPlace(target, text, ops) : Outcome::kFailed;
  }

  // The rename itself is durable once the folder is synced.
  if (dir.fd != -1) ::fsync(dir.fd);
  return Outcome::kSaved;
}

}  // namespace

const FileOps& SystemFileOps() {
  static const FileOps ops{&SystemOpen, &::write, &::fdatasync, &::close, &::rename};
  return ops;
}

bool SaveText(const std::string& path, const std::string& text, const FileOps& ops) {
  // "%s" stops at a zero byte: the file ends there, and the save counts as
  // short.
  const std::size_t length = text.find('\0');
  const bool cut = length != std::string::npos;
  const Outcome outcome = Replace(path, std::string_view(text).substr(0, length), ops);
  if (outcome == Outcome::kNotOpened) return false;
  const bool failed = cut || outcome == Outcome::kFailed;
  if (failed) {
    Log::Singleton::Instance()->Stream(2)
        << "Error: writing preferences to [" << path << "]" << std::endl;
  }
  return failed;
}

}  // namespace ktprefsave
