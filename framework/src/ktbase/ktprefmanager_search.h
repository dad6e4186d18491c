// Internal to the library: the preference getters' key search, the same
// answer as std::map<std::string, std::string>::find, faster where it can be.
//
// Why a search of our own: a read that hits the site scope searches the user
// and project maps first, and std::map::find pays, at every node, a call to
// std::string::compare and through it an out-of-line memcmp. Here a node costs
// an inline comparison of 8 bytes at a time, loaded big-endian so that one
// unsigned integer comparison orders them as memcmp does; the key's first 8
// bytes are loaded once per read, most nodes are told apart by them alone, and
// the walk stops at the first equal key instead of going on to a leaf. It only
// reads the maps: concurrent getters stay safe with one another.
//
// Why it walks libstdc++'s tree directly: std::map offers no search with a
// comparison of our own for a std::string key (a transparent comparator would
// change the maps' type, which is part of CKTPrefManager's layout). The walk
// relies on how libstdc++ builds its red-black tree (the end iterator's node is
// the tree's header, whose parent is the root; children are null at the
// leaves; each node is a std::_Rb_tree_node holding the map's value), through
// private names that a future libstdc++ may rename. So it is used only where
// it is known to fit:
// - KTPREFSEARCH_FAST is 1 for libstdc++ without its debug mode (whose map is
//   another type) on a little-endian machine, unless the build asks for the
//   portable search (KTBASE_PREF_SEARCH_PORTABLE, the CMake option of that
//   name); everywhere else FindValue is std::map::find.
// - KTBASE_PREF_SEARCH_CHECKED (the CMake option of that name, on in the
//   Debug, sanitizer and fuzzing presets) compares every answer of the walk
//   with std::map::find and aborts on a difference.
#ifndef KTBASE_KTPREFMANAGER_SEARCH_H
#define KTBASE_KTPREFMANAGER_SEARCH_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#if defined(__GLIBCXX__) && !defined(_GLIBCXX_DEBUG) && !defined(KTBASE_PREF_SEARCH_PORTABLE) && \
    __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#define KTPREFSEARCH_FAST 1
#else
#define KTPREFSEARCH_FAST 0
#endif

namespace ktprefsearch {

using PrefMap = std::map<std::string, std::string>;

// The portable search, and the reference of the checked mode.
inline const std::string* FindWithMap(const PrefMap& map, const std::string& key) {
  const auto hit = map.find(key);
  return hit == map.end() ? nullptr : &hit->second;
}

// Aborts, naming the key's length, when `found` is not what std::map::find
// finds: a walk that disagrees with the map would hand out wrong values.
inline void CheckAnswer(const PrefMap& map, const std::string& key, const std::string* found) {
  if (found == FindWithMap(map, key)) return;
  std::fprintf(stderr,
               "ktbase: the preference search disagrees with std::map::find (key of %zu bytes)\n",
               key.size());
  std::abort();
}

#if KTPREFSEARCH_FAST
// 8 bytes from `p` as a big-endian number: integer order is memcmp order.
inline std::uint64_t LoadChunk(const char* p) {
  std::uint64_t chunk;
  std::memcpy(&chunk, p, sizeof chunk);
  return __builtin_bswap64(chunk);
}

inline std::uint64_t LoadChunk4(const char* p) {
  std::uint32_t chunk;
  std::memcpy(&chunk, p, sizeof chunk);
  return __builtin_bswap32(chunk);
}

// The first `n` (< 8) bytes of `p`, big-endian in the high bytes, zeros
// below; reads nothing past p + n.
inline std::uint64_t LoadShortChunk(const char* p, std::size_t n) {
  if (n >= 4) return LoadChunk4(p) << 32 | LoadChunk4(p + n - 4) << (64 - 8 * n);
  if (n == 0) return 0;
  const auto byte = [p](std::size_t i) {
    return static_cast<std::uint64_t>(static_cast<unsigned char>(p[i])) << (56 - 8 * i);
  };
  return byte(0) | byte(n / 2) | byte(n - 1);
}

// Negative, zero or positive as std::string::compare of (a, na) with (b, nb):
// unsigned bytes in order, then the shorter first. The first `equal` bytes
// (0 or 8) may be given as known equal.
inline int CompareKeys(const char* a, std::size_t na, const char* b, std::size_t nb,
                       std::size_t equal = 0) {
  const std::size_t n = na < nb ? na : nb;
  std::uint64_t x, y;
  if (n >= 8) {
    std::size_t i = equal;
    for (; i + 8 < n; i += 8) {
      x = LoadChunk(a + i);
      y = LoadChunk(b + i);
      if (x != y) return x < y ? -1 : 1;
    }
    // The last, possibly partial chunk, loaded as the 8 bytes that end at n:
    // the bytes it shares with the previous chunk are already known equal.
    x = LoadChunk(a + n - 8);
    y = LoadChunk(b + n - 8);
  } else {
    x = LoadShortChunk(a, n);
    y = LoadShortChunk(b, n);
  }
  if (x != y) return x < y ? -1 : 1;
  return na < nb ? -1 : na > nb ? 1 : 0;
}

// The first min(n, 8) bytes of `p` as a big-endian number, zeros after the
// end. Two keys whose heads differ order as their heads do (a key that ends
// inside the head is a prefix of the other, and its zeros order first). Equal
// heads need CompareKeys, which may skip the head when both keys hold one.
inline std::uint64_t LoadHead(const char* p, std::size_t n) {
  return n >= 8 ? LoadChunk(p) : LoadShortChunk(p, n);
}

#endif

// A key made ready once for the searches of several scopes. Keeps a
// reference to `key`, which must outlive it.
struct SearchKey {
  explicit SearchKey(const std::string& key) : text(key) {
#if KTPREFSEARCH_FAST
    head = LoadHead(key.data(), key.size());
#endif
  }
  const std::string& text;
#if KTPREFSEARCH_FAST
  std::uint64_t head;
#endif
};

#if KTPREFSEARCH_FAST
// The walk itself: libstdc++'s tree, from the root down.
inline const std::string* WalkTree(const PrefMap& map, const SearchKey& key) {
  using Node = std::_Rb_tree_node<PrefMap::value_type>;
  const std::_Rb_tree_node_base* node = map.end()._M_node->_M_parent;  // the root
  while (node != nullptr) {
    const PrefMap::value_type& entry = *static_cast<const Node*>(node)->_M_valptr();
    const char* const data = entry.first.data();
    const std::size_t size = entry.first.size();
    const std::uint64_t head = LoadHead(data, size);
    const int order = key.head < head ? -1
                      : key.head > head
                          ? 1
                          : CompareKeys(key.text.data(), key.text.size(), data, size, 8);
    if (order == 0) return &entry.second;
    node = order < 0 ? node->_M_left : node->_M_right;
  }
  return nullptr;
}
#endif

// The value stored under `key` in `map`, or null; what map.find(key) finds.
inline const std::string* FindValue(const PrefMap& map, const SearchKey& key) {
#if KTPREFSEARCH_FAST
  const std::string* found = WalkTree(map, key);
#ifdef KTBASE_PREF_SEARCH_CHECKED
  CheckAnswer(map, key.text, found);
#endif
  return found;
#else
  return FindWithMap(map, key.text);
#endif
}

}  // namespace ktprefsearch

#endif  // KTBASE_KTPREFMANAGER_SEARCH_H
