// qrn::diagnostics::IDebug: the debug service handed out by ISystem::Debug().
//
// Slots are append-only.
#ifndef KTBASE_IDEBUG_H
#define KTBASE_IDEBUG_H

#include <ktbase/ioutputconsole.h>
#include <ktbase/ktbase_export.h>

namespace qrn {
namespace diagnostics {

class KTBASE_API IDebug {
 public:
  virtual ~IDebug();
  virtual void InstanceCountIncrease(const char* className) = 0;
  virtual void InstanceCountDecrease(const char* className) = 0;
  virtual void DumpLeaks() = 0;
  // Returns false, whether or not the condition held.
  virtual bool Assert(bool condition, const char* failed, const char* message, const char* detail,
                      const char* file, int line, bool flag) = 0;
  // `text` must not be null.
  virtual void PrintDebugString(const char* text) = 0;
  // Borrowed: the console must outlive the service or be unregistered (null).
  virtual void RegisterDebugOutputConsole(IOutputConsole* console) = 0;
};

}  // namespace diagnostics
}  // namespace qrn

#endif  // KTBASE_IDEBUG_H
