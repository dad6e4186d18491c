// Platform pieces of the diagnostics: the assertion routine.
#ifndef KTBASE_PLATFORM_LINUX_H
#define KTBASE_PLATFORM_LINUX_H

#include <ktbase/ktbase_export.h>

// On a false condition, formats a report of the failure into a static
// 2048-byte buffer (cut at 2047 characters) and nothing more: no output, no
// stop, no question. `flag` is ignored. Always returns false. The buffer is
// shared: not thread-safe.
KTBASE_API bool _plateform_assert(bool condition, const char* failed, const char* message,
                                  const char* detail, const char* file, int line, bool flag);

// The report of the most recent failed assertion ("" before any), for
// debuggers, tests and hosts that want to show it.
KTBASE_API const char* ktGetAssertReport();

#endif  // KTBASE_PLATFORM_LINUX_H
