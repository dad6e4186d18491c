/// @file
/// ktbaserefcount, a plain reference count to derive from.
/// @ingroup system
#ifndef KTBASE_KTBASEREFCOUNT_H
#define KTBASE_KTBASEREFCOUNT_H

#include <ktbase/ktbase_export.h>

/// A plain, non-atomic reference count to derive from. Objects made with
/// `new` only: the last Release() deletes the object.
/// @onethread
/// @ingroup system
class KTBASE_API ktbaserefcount {
 public:
  /// The creator holds the first reference: the count starts at 1.
  ktbaserefcount();
  virtual ~ktbaserefcount();

  /// Takes one more reference.
  /// @return The new count.
  long AddRef();
  /// Gives one reference back. When the count is exactly 1, destroys the
  /// object (virtual deleting destructor); otherwise subtracts one.
  /// Deliberately an equality test: a count of 0 goes to -1 and the object
  /// lives.
  /// @return 0 when the object was destroyed, else the new count.
  long Release();

 private:
  long m_refCount;
};

#endif  // KTBASE_KTBASEREFCOUNT_H
