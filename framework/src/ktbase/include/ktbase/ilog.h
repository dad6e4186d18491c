// qrn::fwk::ILog: a sink for plain text.
//
// Slots are append-only.
#ifndef KTBASE_ILOG_H
#define KTBASE_ILOG_H

#include <ktbase/ktbase_export.h>

namespace qrn {
namespace fwk {

class KTBASE_API ILog {
 public:
  virtual ~ILog();
  // `text` must be a zero-terminated string, never null.
  virtual void WriteLine(const char* text) = 0;
  virtual void Write(const char* text) = 0;
};

}  // namespace fwk
}  // namespace qrn

#endif  // KTBASE_ILOG_H
