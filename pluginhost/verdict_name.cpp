// VerdictName(): compiled into the kit and into its probe, which answers
// with these names.
#include <ktbase/ktpluginhost.h>

namespace ktpluginhost {

const char* VerdictName(Verdict verdict) {
  switch (verdict) {
    case Verdict::kGood:
      return "good";
    case Verdict::kRefused:
      return "refused";
    case Verdict::kInvalid:
      return "invalid";
    case Verdict::kFailed:
      return "failed";
    case Verdict::kCrashed:
      return "crashed";
    case Verdict::kHung:
      return "hung";
    case Verdict::kHostCrashed:
      return "host-crashed";
  }
  return "unknown";
}

}  // namespace ktpluginhost
