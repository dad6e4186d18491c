// qrn::IRefCount: a reference-counted object. The system only ever calls
// Release(), once, for a deletion-list object that has no qrn::IDestroy face.
//
// Slots are append-only.
#ifndef KTBASE_IREFCOUNT_H
#define KTBASE_IREFCOUNT_H

#include <ktbase/ktbase_export.h>

namespace qrn {

class KTBASE_API IRefCount {
 public:
  virtual ~IRefCount();
  virtual long AddRef() = 0;
  virtual long Release() = 0;
};

}  // namespace qrn

#endif  // KTBASE_IREFCOUNT_H
