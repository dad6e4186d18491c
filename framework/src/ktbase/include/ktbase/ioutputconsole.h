// qrn::diagnostics::IOutputConsole: where the debug service sends its text.
// Implemented by the host. The library calls Write() only, with one line
// (ending in "\n", or empty) and the values 0, 0 and 3, whose meaning is the
// host's.
//
// Slots are append-only.
#ifndef KTBASE_IOUTPUTCONSOLE_H
#define KTBASE_IOUTPUTCONSOLE_H

#include <ktbase/ktbase_export.h>

#include <string>

namespace qrn {
namespace diagnostics {

class KTBASE_API IOutputConsole {
 public:
  virtual ~IOutputConsole();
  virtual void Write(const std::string& text, int a, int b, int c) = 0;
};

}  // namespace diagnostics
}  // namespace qrn

#endif  // KTBASE_IOUTPUTCONSOLE_H
