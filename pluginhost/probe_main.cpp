// ktplugin-probe MODULE: loads one plug-in module in a process of its own,
// checks its interface version and calls its entry with a scratch system, so
// that a host learns whether the module can be loaded before it loads it.
// Answers on descriptor 3 (see probe_runner.h); a module that kills this
// process or never returns leaves the host to say why. Exit status 0 after
// an answer, 2 on a bad command line.
#include <fcntl.h>
#include <ktbase/ktbase.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "module_loader.h"
#include "probe_runner.h"

namespace {

void Say(const std::string& text) {
  // Unbuffered: the host must see each stage even if the next one kills us.
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t wrote =
        write(ktpluginhost::kProbeAnswerFd, text.data() + done, text.size() - done);
    if (wrote <= 0) return;
    done += static_cast<std::size_t>(wrote);
  }
}

}  // namespace

int main(int argc, char** argv) {
  // Not passed on to anything the module starts.
  if (argc != 2 || fcntl(ktpluginhost::kProbeAnswerFd, F_SETFD, FD_CLOEXEC) != 0) {
    std::fprintf(stderr, "usage: ktplugin-probe MODULE (run by a ktbase host, answers on fd 3)\n");
    return 2;
  }
  // The system exists before any module loads, as in a host; this one is
  // thrown away with the process.
  qrn::ISystem* system = qrnInitSystem(false, argc, argv);
  Say("stage:load\n");
  ktpluginhost::OpenedModule module;
  std::string message;
  ktpluginhost::Verdict verdict = ktpluginhost::OpenModule(argv[1], module, message);
  if (verdict == ktpluginhost::Verdict::kGood) {
    Say("stage:entry\n");
    if (!ktpluginhost::CallEntry(module.entry, system, message))
      verdict = ktpluginhost::Verdict::kFailed;
  }
  Say(std::string("done:") + ktpluginhost::VerdictName(verdict) + ":" + message);
  // No shut-down: the module's destructors are not the question, and a
  // module that breaks there must not change the answer.
  _exit(0);
}
