#include "probe_runner.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

extern char** environ;

namespace ktpluginhost {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::size_t kMaxAnswer = 1 << 16;  // a module that writes to our pipe gets no more

int MillisecondsLeft(Clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
  return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

// Starts the probe; its pid, or -1 with `error` set.
pid_t Spawn(const std::string& program, const std::string& module, int answerFd,
            std::string& error) {
  // Checked first: where posix_spawn forks (under valgrind, for one), a
  // failed exec would look like a probe that exited with status 127.
  if (access(program.c_str(), X_OK) != 0) {
    error = "cannot start the probe " + program + ": " + std::strerror(errno);
    return -1;
  }
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  posix_spawn_file_actions_init(&actions);
  posix_spawnattr_init(&attributes);
  posix_spawn_file_actions_adddup2(&actions, answerFd, kProbeAnswerFd);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  // Its own process group, so that a kill reaches what the module started;
  // default signal handling and an empty mask, whatever the host set.
  sigset_t none, all;
  sigemptyset(&none);
  sigfillset(&all);
  posix_spawnattr_setflags(&attributes,
                           POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  posix_spawnattr_setpgroup(&attributes, 0);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &all);
  std::string programArg = program, moduleArg = module;
  char* argv[] = {programArg.data(), moduleArg.data(), nullptr};
  pid_t pid = -1;
  const int status = posix_spawn(&pid, program.c_str(), &actions, &attributes, argv, environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (status != 0) {
    error = "cannot start the probe " + program + ": " + std::strerror(status);
    return -1;
  }
  return pid;
}

// Waits for the child to end, until `deadline`; leaves it unreaped (so its
// pid, and its group's, cannot be reused while we kill the group).
bool WaitForEnd(pid_t pid, Clock::time_point deadline) {
  for (;;) {
    siginfo_t info{};
    if (waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0)
      return errno != EINTR;
    if (info.si_pid == pid) return true;
    if (Clock::now() >= deadline) return false;
    const timespec pause{0, 1000000};
    nanosleep(&pause, nullptr);
  }
}

std::string SignalText(int signal) {
  const char* abbreviation = sigabbrev_np(signal);
  const char* description = strsignal(signal);
  return (abbreviation != nullptr ? std::string("SIG") + abbreviation
                                  : "signal " + std::to_string(signal)) +
         (description != nullptr ? std::string(" (") + description + ")" : std::string());
}

std::string Seconds(int milliseconds) {
  char text[32];
  std::snprintf(text, sizeof text, milliseconds % 1000 == 0 ? "%.0f s" : "%.1f s",
                milliseconds / 1000.0);
  return text;
}

}  // namespace

ProbeAnswer RunProbe(const std::string& program, const std::string& module, int timeoutMs) {
  ProbeAnswer answer;
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) {
    answer.reason = std::string("cannot start the probe: ") + std::strerror(errno);
    answer.aboutModule = false;
    return answer;
  }
  const pid_t pid = Spawn(program, module, fds[1], answer.reason);
  close(fds[1]);
  if (pid < 0) {
    close(fds[0]);
    answer.aboutModule = false;
    return answer;
  }

  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  std::string text;
  bool timedOut = false;
  for (;;) {
    pollfd wait{fds[0], POLLIN, 0};
    const int ready = poll(&wait, 1, MillisecondsLeft(deadline));
    if (ready < 0 && errno == EINTR) continue;
    if (ready == 0) {
      timedOut = true;
      break;
    }
    char buffer[4096];
    const ssize_t got = ready < 0 ? 0 : read(fds[0], buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;  // every writer closed: the probe ended (or closed it)
    if (text.size() < kMaxAnswer) text.append(buffer, static_cast<std::size_t>(got));
  }
  close(fds[0]);
  if (!timedOut) timedOut = !WaitForEnd(pid, deadline);
  kill(-pid, SIGKILL);  // the group: the probe, if it hangs, and anything it started
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }

  const bool inEntry = text.find("stage:entry\n") != std::string::npos;
  const std::size_t done = text.rfind("done:");
  if (done != std::string::npos && (done == 0 || text[done - 1] == '\n')) {
    const std::size_t colon = text.find(':', done + 5);
    const std::string verdict = text.substr(done + 5, colon - (done + 5));
    answer.reason = colon == std::string::npos ? std::string() : text.substr(colon + 1);
    for (const Verdict known : {Verdict::kGood, Verdict::kRefused, Verdict::kFailed}) {
      if (verdict == VerdictName(known)) {
        answer.verdict = known;
        return answer;
      }
    }
  }
  const std::string where =
      inEntry ? " in " + std::string("KtPluginEntry()") : " while loading (static constructors)";
  if (text.find("stage:load\n") != 0) {
    // The probe did not get as far as the module: not the module's fault.
    answer.aboutModule = false;
    answer.reason = "the probe " + program + " failed before loading it (" +
                    (WIFSIGNALED(status) ? SignalText(WTERMSIG(status))
                                         : "exit status " + std::to_string(WEXITSTATUS(status))) +
                    ")";
  } else if (timedOut) {
    answer.verdict = Verdict::kHung;
    answer.reason = "no answer after " + Seconds(timeoutMs) + where;
  } else if (WIFSIGNALED(status)) {
    answer.verdict = Verdict::kCrashed;
    answer.reason = "killed by " + SignalText(WTERMSIG(status)) + where;
  } else {
    answer.verdict = Verdict::kCrashed;
    answer.reason = "exited with status " + std::to_string(WEXITSTATUS(status)) + where;
  }
  return answer;
}

}  // namespace ktpluginhost
