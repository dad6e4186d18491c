// Internal to the library (hidden, never installed): how a preference file
// is written to disk.
//
// A save never truncates the file it replaces. The text goes to a new file in
// the target's folder, which is written, synced with fdatasync and closed,
// each result checked, and only then renamed over the target (the folder is
// synced after, best effort: some file systems refuse it, and the file is in
// place by then). Any failure on the way removes the new file and leaves the
// old one byte for byte; so a crash, a kill or a full disk leaves either the
// old text or the whole new one.
//
// The target's identity: a symbolic link is followed to the file it names
// (the link stays); the file keeps its permission bits, and its owner and
// group where the process may set them; a new file gets the mode fopen would
// give it (0666 less the umask, and the folder's default ACL). Deliberately, a
// file with several hard links is replaced under the saved name only: the
// other names keep the old text, as no rename can change them.
//
// Where a rename cannot work, the file is written in place, as an fopen in
// mode "w" would, with every write and the close checked: the target is not a
// regular file (/dev/full, a FIFO, a character device), or its folder refuses
// a new file or the rename (EACCES, EPERM, EROFS) while the file itself may
// be writable.
//
// New files are named ".<name>.ktsave-<pid>-<unique>" beside the target: hidden,
// never ending in ".prefs", unique per save (O_EXCL). Each save first removes
// such files of the same target left by a process that no longer exists, or
// by this one (the library is single-threaded: none of its own saves is under
// way), so a save killed half way leaves nothing after the next one.
//
// Not thread-safe; two processes saving one file at once each rename a whole
// text over it: the last rename wins, nothing is mixed.
#ifndef KTBASE_KTPREFMANAGER_SAVE_H
#define KTBASE_KTPREFMANAGER_SAVE_H

#include <sys/types.h>

#include <cstddef>
#include <string>

namespace ktprefsave {

// The calls whose failures decide a save's result, as a table so that the
// tests can fail each in turn; every other call (stat, readlink, fchown,
// fchmod, unlink, the folder's sync) goes to the system directly. There is no
// flush: the text goes from memory to write(2), with no buffer between.
struct FileOps {
  int (*open)(const char* path, int flags, mode_t mode);
  ssize_t (*write)(int file, const void* data, std::size_t size);
  int (*sync)(int file);  // fdatasync
  int (*close)(int file);
  int (*rename)(const char* from, const char* to);
};

// The system's own calls.
const FileOps& SystemFileOps();

// Writes `text` as the preference file `path`, as described above. The file
// ends where "%s" would stop: at the first zero byte of `text`, if any.
// Returns true when the text was not saved whole (a failed step, or a zero
// byte), having sent the level 2 message "Error: writing preferences to
// [path]" once; false when it was saved whole, and, without a message, when
// the file cannot be opened at all (a folder, a missing folder, a file the
// process may not write, a loop of links). Throws only what allocation and
// the logging library throw.
bool SaveText(const std::string& path, const std::string& text,
              const FileOps& ops = SystemFileOps());

}  // namespace ktprefsave

#endif  // KTBASE_KTPREFMANAGER_SAVE_H
