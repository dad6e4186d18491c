// qrn::ISingleton: lifecycle hooks of a singleton service. The system calls
// Init() once after creating the instance and Term() once before it is
// destroyed (or when its name is registered anew).
//
// Slots are append-only.
#ifndef KTBASE_ISINGLETON_H
#define KTBASE_ISINGLETON_H

#include <ktbase/ktbase_export.h>

namespace qrn {

class KTBASE_API ISingleton {
 public:
  virtual ~ISingleton();
  virtual void Init() = 0;
  virtual void Term() = 0;
};

}  // namespace qrn

#endif  // KTBASE_ISINGLETON_H
