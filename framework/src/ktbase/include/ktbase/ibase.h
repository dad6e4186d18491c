// qrn::IBase: the face every framework object shows across module boundaries.
//
// Slots are append-only: plug-ins compiled against an earlier build index this
// table by position. Never insert, remove or reorder an operation.
#ifndef KTBASE_IBASE_H
#define KTBASE_IBASE_H

#include <ktbase/ktbase_export.h>

namespace qrn {

class KTBASE_API IBase {
 public:
  virtual ~IBase();
  // Constant class name, e.g. "Norvex.KTC.BaseSystem". Never null.
  virtual const char* GetClsName() = 0;
};

}  // namespace qrn

#endif  // KTBASE_IBASE_H
