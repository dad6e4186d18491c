// qrn::IDestroy: an object that may be destroyed through this face (its
// virtual destructor). The system destroys objects on its deletion list this
// way at shutdown.
//
// Slots are append-only.
#ifndef KTBASE_IDESTROY_H
#define KTBASE_IDESTROY_H

#include <ktbase/ktbase_export.h>

namespace qrn {

class KTBASE_API IDestroy {
 public:
  virtual ~IDestroy();
};

}  // namespace qrn

#endif  // KTBASE_IDESTROY_H
