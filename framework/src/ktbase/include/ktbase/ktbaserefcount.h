// ktbaserefcount: a plain, non-atomic reference count to derive from.
#ifndef KTBASE_KTBASEREFCOUNT_H
#define KTBASE_KTBASEREFCOUNT_H

#include <ktbase/ktbase_export.h>

class KTBASE_API ktbaserefcount {
 public:
  // The creator holds the first reference: the count starts at 1.
  ktbaserefcount();
  virtual ~ktbaserefcount();

  // Adds one and returns the new count.
  long AddRef();
  // When the count is exactly 1, destroys the object (virtual deleting
  // destructor) and returns 0; otherwise subtracts one and returns the new
  // count. Deliberately an equality test: a count of 0 goes to -1 and the
  // object lives.
  long Release();

 private:
  long m_refCount;
};

#endif  // KTBASE_KTBASEREFCOUNT_H
