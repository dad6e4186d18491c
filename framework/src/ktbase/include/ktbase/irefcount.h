/// @file
/// qrn::IRefCount, a reference-counted object.
///
/// Slots are append-only.
/// @ingroup system
#ifndef KTBASE_IREFCOUNT_H
#define KTBASE_IREFCOUNT_H

#include <ktbase/ktbase_export.h>

namespace qrn {

/// A reference-counted object. The system only ever calls Release(), once,
/// for a deletion-list object that has no qrn::IDestroy face. ktbaserefcount
/// gives a count to derive from.
/// @onethread
/// @ingroup system
class KTBASE_API IRefCount {
 public:
  virtual ~IRefCount();
  /// Takes one more reference.
  /// @return The new count.
  virtual long AddRef() = 0;
  /// Gives one reference back; the last one destroys the object.
  /// @return The new count.
  virtual long Release() = 0;
};

}  // namespace qrn

#endif  // KTBASE_IREFCOUNT_H
