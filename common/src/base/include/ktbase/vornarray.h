// vorn::runtime::Array: the framework's fixed array, N contiguous elements
// and nothing else (an aggregate: brace-initialise it).
#ifndef KTBASE_VORNARRAY_H
#define KTBASE_VORNARRAY_H

#include <cstddef>

namespace vorn {
namespace runtime {

template <typename T, std::size_t N>
class Array {
 public:
  T& operator[](std::size_t i) { return m_data[i]; }
  const T& operator[](std::size_t i) const { return m_data[i]; }
  T* data() { return m_data; }
  const T* data() const { return m_data; }
  static constexpr std::size_t size() { return N; }

  T m_data[N];
};

}  // namespace runtime
}  // namespace vorn

#endif  // KTBASE_VORNARRAY_H
