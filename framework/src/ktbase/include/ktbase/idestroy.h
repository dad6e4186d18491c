/// @file
/// qrn::IDestroy, an object that may be destroyed through this face.
///
/// Slots are append-only.
/// @ingroup system
#ifndef KTBASE_IDESTROY_H
#define KTBASE_IDESTROY_H

#include <ktbase/ktbase_export.h>

namespace qrn {

/// An object that may be destroyed through this face (its virtual
/// destructor). At shutdown the system destroys the objects on its deletion
/// list this way (qrn::ISystem::RegisterObjectForDeletion()), singletons
/// included: derive a singleton from it.
/// @onethread
/// @ingroup system
class KTBASE_API IDestroy {
 public:
  virtual ~IDestroy();
};

}  // namespace qrn

#endif  // KTBASE_IDESTROY_H
