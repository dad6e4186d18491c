/// @file
/// qrn::diagnostics::IDebug, the debug service handed out by
/// qrn::ISystem::Debug().
///
/// Slots are append-only.
/// @ingroup diagnostics
#ifndef KTBASE_IDEBUG_H
#define KTBASE_IDEBUG_H

#include <ktbase/ioutputconsole.h>
#include <ktbase/ktbase_export.h>

namespace qrn {
namespace diagnostics {

/// The debug service: debug text to a host console, and assertions. The
/// system owns it (qrn::ISystem::Debug()); never delete it. ktdebug is the
/// library's implementation.
/// @onethread
/// @ingroup diagnostics
class KTBASE_API IDebug {
 public:
  virtual ~IDebug();
  /// Counts one more live object of a class (a hook for leak reports).
  /// @param className The class name; may be null.
  virtual void InstanceCountIncrease(const char* className) = 0;
  /// Counts one live object of a class less.
  /// @param className The class name; may be null.
  virtual void InstanceCountDecrease(const char* className) = 0;
  /// Reports the objects still counted as live.
  virtual void DumpLeaks() = 0;
  /// Records a failed assertion (see _plateform_assert()).
  /// @param condition The asserted condition; true records nothing.
  /// @param failed The condition's text.
  /// @param message What went wrong.
  /// @param detail More detail; may be null.
  /// @param file Source file of the assertion.
  /// @param line Source line of the assertion.
  /// @param flag Reserved; ignored.
  /// @return Always false, whether or not the condition held.
  virtual bool Assert(bool condition, const char* failed, const char* message, const char* detail,
                      const char* file, int line, bool flag) = 0;
  /// Sends one line of text to the registered console.
  /// @param text Zero-terminated text; must not be null.
  virtual void PrintDebugString(const char* text) = 0;
  /// Sets where debug text goes.
  /// @param console Borrowed: it must outlive the service or be unregistered
  ///   (null) first. Null turns debug output off.
  virtual void RegisterDebugOutputConsole(IOutputConsole* console) = 0;
};

}  // namespace diagnostics
}  // namespace qrn

#endif  // KTBASE_IDEBUG_H
