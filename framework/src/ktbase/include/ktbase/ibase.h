/// @file
/// qrn::IBase, the face every framework object shows across module
/// boundaries.
///
/// Slots are append-only: plug-ins compiled against an earlier build index this
/// table by position. Never insert, remove or reorder an operation.
/// @ingroup system
#ifndef KTBASE_IBASE_H
#define KTBASE_IBASE_H

#include <ktbase/ktbase_export.h>

namespace qrn {

/// The face every framework object shows across module boundaries.
///
/// Objects cross the system's registries as `IBase*`; their other faces
/// (qrn::ISingleton, qrn::IDestroy, your own interfaces) are reached with
/// `dynamic_cast`. Deleting through this face is the owner's business: see
/// qrn::IDestroy.
/// @onethread
/// @ingroup system
class KTBASE_API IBase {
 public:
  virtual ~IBase();
  /// The object's constant class name, e.g. "Norvex.KTC.BaseSystem".
  /// @return Static text, never null; the object keeps it, do not free it.
  virtual const char* GetClsName() = 0;
};

}  // namespace qrn

#endif  // KTBASE_IBASE_H
