/// @file
/// qrn::diagnostics::IOutputConsole, where the debug service sends its text.
///
/// Slots are append-only.
/// @ingroup diagnostics
#ifndef KTBASE_IOUTPUTCONSOLE_H
#define KTBASE_IOUTPUTCONSOLE_H

#include <ktbase/ktbase_export.h>

#include <string>

namespace qrn {
namespace diagnostics {

/// Where the debug service sends its text; implemented by the host and
/// registered with qrn::diagnostics::IDebug::RegisterDebugOutputConsole(),
/// which borrows it.
/// @par Threads
/// Called on the thread that called qrn::diagnostics::IDebug::PrintDebugString().
/// @ingroup diagnostics
class KTBASE_API IOutputConsole {
 public:
  virtual ~IOutputConsole();
  /// Receives one line of debug text. The library calls it with the values
  /// 0, 0 and 3 for `a`, `b` and `c`, whose meaning is the host's.
  /// @param text One line, ending in "\n", or empty; valid during the call.
  /// @param a Host-defined; 0 from the library.
  /// @param b Host-defined; 0 from the library.
  /// @param c Host-defined; 3 from the library.
  virtual void Write(const std::string& text, int a, int b, int c) = 0;
};

}  // namespace diagnostics
}  // namespace qrn

#endif  // KTBASE_IOUTPUTCONSOLE_H
