/// @file
/// qrn::fwk::ILog, a sink for plain text.
///
/// Slots are append-only.
/// @ingroup diagnostics
#ifndef KTBASE_ILOG_H
#define KTBASE_ILOG_H

#include <ktbase/ktbase_export.h>

namespace qrn {
namespace fwk {

/// A sink for plain text. ktFileLog implements it over a `FILE*`.
/// @onethread
/// @ingroup diagnostics
class KTBASE_API ILog {
 public:
  virtual ~ILog();
  /// Writes `text` and a line feed.
  /// @param text A zero-terminated string, never null.
  virtual void WriteLine(const char* text) = 0;
  /// Writes `text` as it stands.
  /// @param text A zero-terminated string, never null.
  virtual void Write(const char* text) = 0;
};

}  // namespace fwk
}  // namespace qrn

#endif  // KTBASE_ILOG_H
