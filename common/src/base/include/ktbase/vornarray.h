/// @file
/// vorn::runtime::Array, the framework's fixed array.
/// @ingroup modules
#ifndef KTBASE_VORNARRAY_H
#define KTBASE_VORNARRAY_H

#include <cstddef>

namespace vorn {
namespace runtime {

/// The framework's fixed array: N contiguous elements and nothing else (an
/// aggregate: brace-initialise it). No bound checks.
/// @tparam T The element type.
/// @tparam N The number of elements.
/// @threadsafe As a plain array.
/// @ingroup modules
template <typename T, std::size_t N>
class Array {
 public:
  /// @param i Index, below N.
  /// @return Element i.
  T& operator[](std::size_t i) { return m_data[i]; }
  /// @param i Index, below N.
  /// @return Element i.
  const T& operator[](std::size_t i) const { return m_data[i]; }
  /// @return The first element.
  T* data() { return m_data; }
  /// @return The first element.
  const T* data() const { return m_data; }
  /// @return N.
  static constexpr std::size_t size() { return N; }

  /// The elements; public, so the class stays an aggregate.
  T m_data[N];
};

}  // namespace runtime
}  // namespace vorn

#endif  // KTBASE_VORNARRAY_H
