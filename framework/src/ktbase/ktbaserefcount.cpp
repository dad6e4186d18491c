// A plain reference count. Not atomic: single-threaded use only.
#include <ktbase/ktbaserefcount.h>

ktbaserefcount::ktbaserefcount() : m_refCount(1) {}

ktbaserefcount::~ktbaserefcount() = default;

long ktbaserefcount::AddRef() { return ++m_refCount; }

long ktbaserefcount::Release() {
  // Equality with 1, not "zero after decrement": an over-released object
  // (count 0) goes negative and is not destroyed twice.
  if (m_refCount == 1) {
    delete this;
    return 0;
  }
  return --m_refCount;
}
