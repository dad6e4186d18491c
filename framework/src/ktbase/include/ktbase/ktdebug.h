/// @file
/// ktdebug, the debug service.
/// @ingroup diagnostics
#ifndef KTBASE_KTDEBUG_H
#define KTBASE_KTDEBUG_H

#include <ktbase/idebug.h>
#include <ktbase/idestroy.h>
#include <ktbase/ioutputconsole.h>
#include <ktbase/ktbase_export.h>

/// The debug service behind qrn::ISystem::Debug(). Forwards text to one host
/// console and routes assertions to _plateform_assert(). The instance-count
/// and leak hooks are deliberately empty on this platform. The system owns
/// it.
/// @onethread
/// @ingroup diagnostics
class KTBASE_API ktdebug : public qrn::diagnostics::IDebug, public qrn::IDestroy {
 public:
  /// No console: debug text goes nowhere until one is registered.
  ktdebug();
  /// Leaves the console alone (it is borrowed).
  ~ktdebug() override;

  /// Does nothing, deliberately.
  /// @param className Ignored.
  void InstanceCountIncrease(const char* className) override;
  /// Does nothing, deliberately.
  /// @param className Ignored.
  void InstanceCountDecrease(const char* className) override;
  /// Does nothing, deliberately.
  void DumpLeaks() override;
  bool Assert(bool condition, const char* failed, const char* message, const char* detail,
              const char* file, int line, bool flag) override;
  /// Sends `text` to the console as one line: a "\n" is appended unless the
  /// text already ends in one. An empty text is sent empty. Without a
  /// console, or with a null text, does nothing.
  /// @param text Zero-terminated text.
  void PrintDebugString(const char* text) override;
  void RegisterDebugOutputConsole(qrn::diagnostics::IOutputConsole* console) override;

 private:
  qrn::diagnostics::IOutputConsole* m_console;
};

#endif  // KTBASE_KTDEBUG_H
