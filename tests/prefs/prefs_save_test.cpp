// Saving: what each failed step of a file's replacement leaves behind, a real
// full file system, and what a saved file keeps of the one it replaces. Saves
// killed half way and concurrent savers are in stress/ktstress.
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <boost/filesystem.hpp>
#include <cerrno>
#include <cstring>

#include "ktprefmanager_save.h"
#include "prefs_fixture.h"

namespace fs = boost::filesystem;

namespace {

// The seam: `g_fail` fails once with `g_error`; writes take 7 bytes at a time.
enum Step { kOpen, kWrite, kSync, kClose, kRename, kNone };
Step g_fail = kNone;
int g_error = 0;

bool Fails(Step step) {
  if (step != g_fail) return false;
  g_fail = kNone;
  errno = g_error;
  return true;
}

const ktprefsave::FileOps kFaulty{
    [](const char* path, int flags, mode_t mode) {
      return Fails(kOpen) ? -1 : ::open(path, flags, mode);
    },
    [](int file, const void* data, std::size_t size) -> ssize_t {
      return Fails(kWrite) ? -1 : ::write(file, data, std::min<std::size_t>(size, 7));
    },
    [](int file) { return Fails(kSync) ? -1 : ::fdatasync(file); },
    [](int file) { return ::close(file) != 0 || Fails(kClose) ? -1 : 0; },
    [](const char* from, const char* to) { return Fails(kRename) ? -1 : ::rename(from, to); }};

std::string WritingError(const std::string& path) {
  return "Error: writing preferences to [" + path + "]\n";
}

}  // namespace

// A failed step leaves the old bytes, no new file and one message; a refusal
// of the folder falls back to writing in place; an interrupted write goes on.
// The same through a relative link, which stays. The first save also removes
// the new files of saves that can no longer finish (this process's, a dead
// one's), and only those.
TEST_F(PrefsTest, EachFailedStepKeepsTheOldFile) {
  const struct {
    Step step;
    int error;
    bool saved;
  } rows[] = {{kNone, 0, true},        {kOpen, ENOSPC, false}, {kOpen, EACCES, true},
              {kWrite, ENOSPC, false}, {kWrite, EINTR, true},  {kSync, EIO, false},
              {kClose, EDQUOT, false}, {kRename, EIO, false},  {kRename, EPERM, true}};
  const pid_t dead = ::fork();
  if (dead == 0) ::_exit(0);
  ::waitpid(dead, nullptr, 0);
  const std::string stale[] = {".t.prefs.ktsave-" + std::to_string(dead) + "-0",
                               ".t.prefs.ktsave-" + std::to_string(::getpid()) + "-0"};
  for (const char* name : {stale[0].c_str(), stale[1].c_str(), ".t.prefs.ktsave-1-0", ".t.prefs.x"})
    writeFile(name, "");
  fs::create_symlink("t.prefs", path("l.prefs"));
  const std::string text = "a=2\nb=" + std::string(40, 'x') + "\n";
  for (const char* name : {"t.prefs", "l.prefs"}) {
    for (const auto& row : rows) {
      SCOPED_TRACE(std::string(name) + ", step " + std::to_string(row.step) + ": " +
                   std::strerror(row.error));
      writeFile("t.prefs", "a=1\n");
      auto expected = kttest::Snapshot(dir());
      for (const std::string& file : stale) expected.erase(path(file));
      if (row.saved) expected[path("t.prefs")] = "file:" + text;
      g_fail = row.step;
      g_error = row.error;
      kttest::LogCapture log;
      EXPECT_EQ(ktprefsave::SaveText(path(name), text, kFaulty), !row.saved);
      EXPECT_EQ(kttest::Snapshot(dir()), expected);
      ASSERT_EQ(log.records().size(), row.saved ? 0u : 1u);
      for (const auto& record : log.records()) {
        EXPECT_EQ(record.level, 2);
        EXPECT_EQ(record.text, WritingError(path(name)));
      }
    }
  }
}

// A 64 KiB tmpfs, full: the new text does not fit, the old file stays whole.
TEST_F(PrefsTest, FullFileSystemKeepsTheOldFile) {
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
    prefs->SetPref("Key" + std::to_string(i), std::string(25, 'a'), kUser);
  ASSERT_FALSE(prefs->SaveToDisk(kUser));
  writeFile("small/filler", std::string(64 << 10, 'f'));  // to the last block
  const auto before = kttest::Snapshot(small);
  prefs->SetPref("Key0", std::string(4096, 'b'), kUser);
  kttest::LogCapture log;
  EXPECT_TRUE(prefs->SaveToDisk(kUser));
  EXPECT_EQ(kttest::Snapshot(small), before);
  ASSERT_EQ(log.records().size(), 1u);
  EXPECT_EQ(log.records()[0].text, WritingError(small + "/user.prefs"));
  fs::remove(small + "/filler");
  EXPECT_FALSE(prefs->SaveToDisk(kUser));
  prefs->Writable(false);
}

// Through links (one dangling: the save creates the file it names), the file
// replaced keeps its mode and owner; a new one gets the mode fopen gives.
TEST_F(PrefsTest, SaveKeepsLinksModeAndOwner) {
  const std::string site = writeFile("etc/site.prefs", "old=1\n");
  ASSERT_EQ(::chmod(site.c_str(), 0604), 0);
  const bool root = ::geteuid() == 0;  // only root may give a file away
  const uid_t uid = root ? 4321 : ::geteuid();
  const gid_t gid = root ? 8765 : ::getegid();
  ASSERT_EQ(::chown(site.c_str(), uid, gid), 0);
  fs::create_symlink(site, path("site.prefs"));
  fs::create_symlink("etc/user.prefs", path("user.prefs"));
  prefs->Configure(path("user.prefs"), "", path("site.prefs"));
  prefs->SetPref("s", std::string("2"), kSite);
  prefs->SetPref("u", std::string("3"), kUser);
  const mode_t umask = ::umask(027);
  EXPECT_FALSE(prefs->SaveToDisk(kAll));
  ::umask(umask);
  prefs->Writable(false);

  struct stat info {};
  ASSERT_EQ(::stat(site.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0604u);
  EXPECT_EQ(info.st_uid, uid);
  EXPECT_EQ(info.st_gid, gid);
  EXPECT_EQ(readFile(site), std::optional<std::string>("s=2\n"));
  EXPECT_EQ(fs::read_symlink(path("site.prefs")).string(), site);
  ASSERT_EQ(::stat(path("etc/user.prefs").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
  EXPECT_EQ(readFile(path("user.prefs")), std::optional<std::string>("u=3\n"));
  EXPECT_TRUE(fs::is_symlink(path("user.prefs")));
}
