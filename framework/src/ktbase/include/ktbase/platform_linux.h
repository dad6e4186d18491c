/// @file
/// Platform pieces of the diagnostics: the assertion routine.
/// @ingroup diagnostics
#ifndef KTBASE_PLATFORM_LINUX_H
#define KTBASE_PLATFORM_LINUX_H

#include <ktbase/ktbase_export.h>

/// The assertion routine. On a false condition, formats a report of the
/// failure into a static 2048-byte buffer (cut at 2047 characters) and
/// nothing more: no output, no stop, no question.
/// @param condition The asserted condition; true records nothing.
/// @param failed The condition's text; may be null.
/// @param message What went wrong; may be null.
/// @param detail More detail; may be null.
/// @param file Source file of the assertion; may be null.
/// @param line Source line of the assertion.
/// @param flag Ignored.
/// @return Always false.
/// @par Threads
/// The buffer is shared: one thread at a time, with ktGetAssertReport() too.
/// @ingroup diagnostics
KTBASE_API bool _plateform_assert(bool condition, const char* failed, const char* message,
                                  const char* detail, const char* file, int line, bool flag);

/// The report of the most recent failed assertion, for debuggers, tests and
/// hosts that want to show it.
/// @return The library's static buffer ("" before any failure); do not free
///   it. Overwritten by the next failed assertion.
/// @onethread
/// @ingroup diagnostics
KTBASE_API const char* ktGetAssertReport();

#endif  // KTBASE_PLATFORM_LINUX_H
