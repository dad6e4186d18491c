// ktdebug: the debug service. Forwards text to one host console and routes
// assertions to _plateform_assert. The instance-count and leak hooks are
// deliberately empty on this platform.
#ifndef KTBASE_KTDEBUG_H
#define KTBASE_KTDEBUG_H

#include <ktbase/idebug.h>
#include <ktbase/idestroy.h>
#include <ktbase/ioutputconsole.h>
#include <ktbase/ktbase_export.h>

class KTBASE_API ktdebug : public qrn::diagnostics::IDebug, public qrn::IDestroy {
 public:
  ktdebug();
  // Leaves the console alone (it is borrowed).
  ~ktdebug() override;

  void InstanceCountIncrease(const char* className) override;
  void InstanceCountDecrease(const char* className) override;
  void DumpLeaks() override;
  bool Assert(bool condition, const char* failed, const char* message, const char* detail,
              const char* file, int line, bool flag) override;
  // Sends `text` as one line: a "\n" is appended unless the text already ends
  // in one. An empty text is sent empty. No console: no effect.
  void PrintDebugString(const char* text) override;
  void RegisterDebugOutputConsole(qrn::diagnostics::IOutputConsole* console) override;

 private:
  qrn::diagnostics::IOutputConsole* m_console;
};

#endif  // KTBASE_KTDEBUG_H
