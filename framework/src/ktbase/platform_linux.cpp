// The assertion routine of this platform: it records, nothing more.
#include <ktbase/platform_linux.h>

#include <cstdio>
#include <string>

namespace {

// Report of the most recent failed assertion, for a debugger (or a host) to
// read. Overwritten by each failure; zero-filled, so "" before any.
char s_text[2048];

const char* orEmpty(const char* text) { return text != nullptr ? text : ""; }

}  // namespace

bool _plateform_assert(bool condition, const char* failed, const char* message, const char* detail,
                       const char* file, int line, bool /*flag*/) {
  if (condition) return false;

  std::string text = orEmpty(message);
  if (detail != nullptr) text += detail;

  // Null texts are reported as "". snprintf bounds the report at 2047
  // characters plus the terminating zero; a longer one is cut.
  std::snprintf(s_text, sizeof s_text,
                "Error: ( %s )\nFAILED: %s\n\nFile '%s', Line %d\n%s\n\n"
                "Abort execution, allow assert Retry, or Ignore in future?",
                text.c_str(), orEmpty(failed), orEmpty(file), line, "");
  // Deliberately no output, no stop and no question: false either way.
  return false;
}

const char* ktGetAssertReport() { return s_text; }
