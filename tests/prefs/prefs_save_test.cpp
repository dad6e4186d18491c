// Saving: what each failed step of a file's replacement leaves behind, a real
// full file system and device, and what a saved file keeps of the one it
// replaces. Saves killed half way and concurrent savers: stress/ktstress.
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <boost/filesystem.hpp>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <tuple>

#include "ktprefmanager_save.h"
#include "prefs_fixture.h"

namespace fs = boost::filesystem;

namespace {

// The seam: step `g_fail` fails once with `g_error`; writes take 7 bytes at a
// time; `g_opened` is the last file opened.
enum Step { kOpen, kWrite, kSync, kClose, kRename, kNone };
Step g_fail = kNone;
int g_error = 0;
std::string g_opened;

bool Fails(Step step) {
  if (step != g_fail) return false;
  g_fail = kNone;
  errno = g_error;
  return true;
}

const ktprefsave::FileOps kFaulty{
    [](const char* path, int flags, mode_t mode) {
      return Fails(kOpen) ? -1 : ::open((g_opened = path).c_str(), flags, mode);
    },
    [](int file, const void* data, std::size_t size) -> ssize_t {
      return Fails(kWrite) ? -1 : ::write(file, data, std::min<std::size_t>(size, 7));
    },
    [](int file) { return Fails(kSync) ? -1 : ::fdatasync(file); },
    [](int file) { return ::close(file) != 0 || Fails(kClose) ? -1 : 0; },
    [](const char* from, const char* to) { return Fails(kRename) ? -1 : ::rename(from, to); }};

// Whether `log` holds the one writing error of `path`.
bool OneWritingError(const kttest::LogCapture& log, const std::string& path) {
  return log.records().size() == 1 && log.records()[0].level == 2 &&
         log.records()[0].text == "Error: writing preferences to [" + path + "]\n";
}

}  // namespace

// A failed step leaves the old bytes, no new file and one message; a refusal
// of the folder falls back to writing in place; an interrupted write goes on;
// a zero byte ends the file and counts as short. The same through a relative
// link, which stays; the file keeps its mode (which the umask would cut) and
// owner, also when only its owner differs from the process's. The first save
// also removes the new files of saves that can no longer finish (a dead
// process's, this one's), and only those. Then links: a dangling one makes the
// file it names, with the mode fopen gives; as for open(), a chain of 40 is
// followed, and one of 41, a loop, a missing folder, a file taken for a
// folder or a name too long is not opened: nothing is made, nothing said.
TEST_F(PrefsTest, EachFailedStepKeepsTheOldFile) {
  const std::string text = "a=2\nb=" + std::string(40, 'x') + "\n", cut("a=2\0b\n", 6);
  const struct {
    Step step;
    int error;
    const std::string& input;
    const char* saved;  // null: the old text stays
  } rows[] = {{kNone, 0, text, text.c_str()},       {kOpen, ENOSPC, text, nullptr},
              {kOpen, EACCES, text, text.c_str()},  {kWrite, ENOSPC, text, nullptr},
              {kWrite, EINTR, text, text.c_str()},  {kSync, EIO, text, nullptr},
              {kClose, EDQUOT, text, nullptr},      {kRename, EIO, text, nullptr},
              {kRename, EPERM, text, text.c_str()}, {kNone, 0, cut, "a=2"}};
  const pid_t dead = ::fork();
  if (dead == 0) ::_exit(0);
  ::waitpid(dead, nullptr, 0);
  const pid_t alive = ::fork();  // as if saving: its new file stays, and it gets no signal
  if (alive == 0) {
    ::close(1), ::close(2), ::sleep(60);
    ::_exit(0);
  }
  const std::string stem = ".t.prefs.ktsave-", self = stem + std::to_string(::getpid()) + "-";
  const std::string stale[] = {stem + std::to_string(dead) + "-0", self + "0"};
  for (const std::string& name :
       {stale[0], stale[1], stem + std::to_string(alive) + "-0", stem + std::to_string(dead) + "x"})
    writeFile(name, "");
  const auto fds = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  const auto openFiles = fds();
  const bool root = ::geteuid() == 0;  // only root may give a file away
  const std::string target = writeFile("t.prefs", "");
  fs::create_symlink("t.prefs", path("l.prefs"));
  const mode_t umask = ::umask(027);
  struct stat info {};
  for (const char* name : {"t.prefs", "l.prefs"}) {
    const auto identity = std::make_tuple(0646u, root ? 4321 : ::geteuid(),
                                          root && *name == 't' ? 8765 : ::getegid());
    ASSERT_EQ(::chown(target.c_str(), std::get<1>(identity), std::get<2>(identity)), 0);
    ASSERT_EQ(::chmod(target.c_str(), 0646), 0);
    for (const auto& row : rows) {
      SCOPED_TRACE(testing::Message() << name << ", row " << &row - rows);
      writeFile("t.prefs", "a=1\n");
      auto expected = kttest::Snapshot(dir());
      for (const std::string& file : stale) expected.erase(path(file));
      if (row.saved) expected[target] = std::string("file:") + row.saved;
      g_fail = row.step;
      g_error = row.error;
      kttest::LogCapture log;
      const bool whole = row.saved != nullptr && row.saved == text;
      EXPECT_EQ(ktprefsave::SaveText(path(name), row.input, kFaulty), !whole);
      EXPECT_EQ(kttest::Snapshot(dir()), expected);
      EXPECT_EQ(log.records().size(), whole ? 0u : 1u);
      EXPECT_TRUE(whole || OneWritingError(log, path(name)));
      const bool inPlace = whole && (row.step == kOpen || row.step == kRename);
      EXPECT_EQ(g_opened.rfind(inPlace ? target : path(self), 0), 0u) << g_opened;
      ASSERT_EQ(::stat(target.c_str(), &info), 0);
      EXPECT_EQ(std::make_tuple(info.st_mode & 07777, info.st_uid, info.st_gid), identity);
    }
  }

  fs::create_symlink("new/n.prefs", path("d.prefs"));
  fs::create_directories(path("new"));
  EXPECT_FALSE(ktprefsave::SaveText(path("d.prefs"), text));
  ::umask(umask);
  ASSERT_EQ(::stat(path("new/n.prefs").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
  EXPECT_EQ(fs::read_symlink(path("d.prefs")), "new/n.prefs");
  for (int n = 0; n < 40; ++n)
    fs::create_symlink("c" + std::to_string(n + 1), path("c" + std::to_string(n)));
  fs::create_symlink("z", path("c40"));
  fs::create_symlink("loop", path("loop"));
  const auto before = kttest::Snapshot(dir());
  kttest::LogCapture log;
  for (const std::string name : {"c0", "loop", "loop/x", "t.prefs/x", "none/x", "n.prefs"}) {
    const std::string file = path(name == "n.prefs" ? std::string(300, 'n') : name);
    EXPECT_FALSE(ktprefsave::SaveText(file, text)) << name;
  }
  EXPECT_EQ(kttest::Snapshot(dir()), before);
  EXPECT_TRUE(log.records().empty());
  EXPECT_FALSE(ktprefsave::SaveText(path("c1"), text));
  EXPECT_EQ(readFile(path("z")), text);
  EXPECT_EQ(fds(), openFiles);
  int status = 0;
  ::kill(alive, SIGKILL);
  ::waitpid(alive, &status, 0);
  EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

// A device is written in place, its refusal reported even for a small text:
// a copy of /dev/full where one can be made and opened, so that a fault that
// took the device for a file would rename over the copy, not the system's.
// Then a 64 KiB tmpfs, full: the new text does not fit, the old file stays.
TEST_F(PrefsTest, FullFileSystemOrDeviceKeepsTheOldFile) {
  std::string full = path("full");
  const int copy = ::mknod(full.c_str(), S_IFCHR | 0666, ::makedev(1, 7)) == 0
                       ? ::open(full.c_str(), O_WRONLY | O_CLOEXEC)
                       : -1;
  if (copy < 0) full = "/dev/full";
  ::close(copy);
  prefs->Configure(full, kSite);
  prefs->SetPref("k", std::string("v"), kSite);
  kttest::LogCapture log;
  EXPECT_TRUE(prefs->SaveToDisk(kSite) && OneWritingError(log, full));
  EXPECT_TRUE(fs::is_other(full));

  const std::string small = path("small");
  fs::create_directories(small);
  if (::mount("tmpfs", small.c_str(), "tmpfs", 0, "size=64k") != 0)
    GTEST_SKIP() << "cannot mount a tmpfs on " << small << ": " << std::strerror(errno);
  const struct Unmount {
    std::string at;
    ~Unmount() { ::umount2(at.c_str(), MNT_DETACH); }
  } unmount{small};
  prefs->Configure(small + "/user.prefs", kUser);
  for (int i = 0; i < 200; ++i)
    prefs->SetPref("K" + std::to_string(i), std::string(30, 'a'), kUser);
  ASSERT_FALSE(prefs->SaveToDisk(kUser));
  writeFile("small/filler", std::string(64 << 10, 'f'));  // to the last block
  const auto before = kttest::Snapshot(small);
  prefs->SetPref("K0", std::string(4096, 'b'), kUser);
  kttest::LogCapture fullLog;
  EXPECT_TRUE(prefs->SaveToDisk(kUser) && OneWritingError(fullLog, small + "/user.prefs"));
  EXPECT_EQ(kttest::Snapshot(small), before);
  fs::remove(small + "/filler");
  EXPECT_FALSE(prefs->SaveToDisk(kUser));
  prefs->Writable(false);
}
