// Running the probe program on one module in a child process (spawned, so
// nothing of the host's state is copied into it), with a time limit.
#ifndef KTBASE_PLUGINHOST_PROBE_RUNNER_H
#define KTBASE_PLUGINHOST_PROBE_RUNNER_H

#include <ktbase/ktpluginhost.h>

#include <string>

namespace ktpluginhost {

struct ProbeAnswer {
  Verdict verdict = Verdict::kFailed;
  std::string reason;       // empty for kGood
  bool aboutModule = true;  // false: the probe itself failed; do not remember it
};

// The probe's answers on its file descriptor 3: "stage:load" before it loads
// the module, "stage:entry" before the entry, and last
// "done:<verdict>:<message>" (verdict "good", "refused" or "failed").
constexpr int kProbeAnswerFd = 3;

// Runs `program MODULE` with the answer pipe on descriptor 3 and the other
// standard descriptors on /dev/null, in a process group of its own, which is
// killed when the probe gives no answer within `timeoutMs`. Never throws but
// std::bad_alloc.
ProbeAnswer RunProbe(const std::string& program, const std::string& module, int timeoutMs);

}  // namespace ktpluginhost

#endif  // KTBASE_PLUGINHOST_PROBE_RUNNER_H
