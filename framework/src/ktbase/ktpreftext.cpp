// The preference text rules; see ktpreftext.h.
#include "ktpreftext.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <locale>
#include <sstream>
#include <tuple>
#include <type_traits>
#include <utility>

namespace ktpreftext {

namespace {

constexpr char kSpace = ' ';

// Length of the chunk at the start of `data`: through the first line feed,
// at most kChunk bytes.
std::size_t ChunkLength(const char* data, std::size_t size) {
  const std::size_t limit = size < kChunk ? size : kChunk;
  const void* lineFeed = std::memchr(data, '\n', limit);
  return lineFeed != nullptr ? static_cast<const char*>(lineFeed) - data + 1 : limit;
}

// Stores `value` under `key`, a later line replacing an earlier one. The
// hint at the end costs one comparison for keys that arrive in ascending
// order, as a saved file holds them; other keys are searched for as by an
// insert. A repeated key makes a node that is dropped, and its value is
// assigned.
void Store(PrefMap& prefs, std::string_view key, std::string_view value) {
  const std::size_t size = prefs.size();
  const auto at = prefs.emplace_hint(prefs.end(), std::piecewise_construct,
                                     std::forward_as_tuple(key), std::forward_as_tuple(value));
  if (prefs.size() == size) at->second.assign(value.data(), value.size());
}

// One line (without its line feed). Only ' ' is trimmed: tabs and carriage
// returns belong to the key or value.
void ParseLine(std::string_view line, PrefMap& prefs,
               const std::function<void(std::string_view)>& ignored) {
  const std::size_t equal = line.find('=');
  if (equal == std::string_view::npos) {
    if (line.find_first_not_of(kSpace) != std::string_view::npos) ignored(line);
    return;
  }
  // The key's edges come from two searches whose odd ends are kept on
  // purpose: the first non-space may be the '=' itself (blank key part); the
  // backward search starts just before '=', or at the end of the line when
  // '=' comes first (equal - 1 wraps to npos); when it finds nothing the key
  // runs to the end of the line.
  const std::size_t keyFirst = line.find_first_not_of(kSpace);
  const std::size_t keyLast = line.find_last_not_of(kSpace, equal - 1);
  const std::size_t keyLength =
      keyLast == std::string_view::npos ? std::string_view::npos : keyLast - keyFirst + 1;
  const std::string_view key = line.substr(keyFirst, keyLength);

  const std::size_t valueFirst = line.find_first_not_of(kSpace, equal + 1);
  if (valueFirst == std::string_view::npos) {
    Store(prefs, key, std::string_view());
    return;
  }
  const std::size_t valueLast = line.find_last_not_of(kSpace);
  Store(prefs, key, line.substr(valueFirst, valueLast - valueFirst + 1));
}

void ExpandToken(std::string& value, const std::string& token, const std::string& replacement) {
  if (token.empty()) return;
  std::size_t pos = value.find(token);
  if (pos == std::string::npos) return;
  if (replacement.find(token) == std::string::npos) {
    for (; pos != std::string::npos; pos = value.find(token))
      value.replace(pos, token.size(), replacement);
    return;
  }
  for (; pos != std::string::npos; pos = value.find(token, pos + replacement.size()))
    value.replace(pos, token.size(), replacement);
}

// Unchecked stream extraction, the reference for every number read.
template <typename T>
T ExtractNumber(const std::string& text) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  T number = T();
  in >> number;
  return number;
}

// What `stream >> number` stores, for a text that starts with a number
// std::from_chars reads: it reads the same decimal forms and rounds a float
// the same way (correctly, as the stream's strtof does). Everything it
// refuses is left to the stream (false): leading white space, a '+', values
// out of range, and, for a float, "inf" and "nan" (the stream reads neither)
// and an exponent mark it stops at ("1e" gives 0 from the stream). The byte
// after the number is always readable: a std::string ends in a zero byte.
template <typename T>
bool ParsePlain(const std::string& text, T& number) {
  const char* const end = text.data() + text.size();
  const auto [next, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc()) return false;
  if constexpr (std::is_floating_point_v<T>) {
    return std::isfinite(number) && (*next | 0x20) != 'e';  // 'e' or 'E'
  }
  return true;
}

// Plain decimal forms directly, everything else through the stream: the same
// result, faster for the common case.
template <typename T>
T ConvertNumber(const std::string& text) {
  T number = T();
  if (ParsePlain(text, number)) return number;
  return ExtractNumber<T>(text);
}

template <typename T>
std::string FormatNumber(T value) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << value;
  return out.str();
}

}  // namespace

std::string ReaderText(std::string bytes, bool readError) {
  if (readError) {
    // Chunks restart after each line feed and hold kChunk bytes, so the chunk
    // in progress is what the last line has beyond a multiple of kChunk
    // (nothing when the bytes end in a line feed).
    const std::size_t lastLine = bytes.rfind('\n') + 1;  // npos + 1 == 0
    bytes.resize(bytes.size() - (bytes.size() - lastLine) % kChunk);
  }
  // The chunks are only worked out when a zero byte is present.
  if (bytes.find('\0') == std::string::npos) return bytes;
  std::string joined;
  joined.reserve(bytes.size());
  for (std::size_t at = 0, length = 0; at < bytes.size(); at += length) {
    const char* chunk = bytes.data() + at;
    length = ChunkLength(chunk, bytes.size() - at);
    const void* zero = std::memchr(chunk, '\0', length);
    joined.append(chunk, zero != nullptr ? static_cast<const char*>(zero) - chunk : length);
  }
  return joined;
}

void ParseText(std::string_view text, PrefMap& prefs,
               const std::function<void(std::string_view line)>& ignored) {
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    ParseLine(text.substr(start, end - start), prefs, ignored);
    start = end + 1;
  }
}

bool ExpandsTokens(const std::string& key) {
  static const char kPathSuffix[] = ".Path";
  constexpr std::size_t kLength = sizeof kPathSuffix - 1;
  const std::size_t size = key.size();
  if (size == kLength - 1) return true;
  return size >= kLength && key.compare(size - kLength, kLength, kPathSuffix, kLength) == 0;
}

void ExpandTokens(const PrefMap& tokens, std::string& value) {
  for (const auto& token : tokens) ExpandToken(value, token.first, token.second);
}

bool ToBool(const std::string& text) { return text == "true" || text == "1"; }

int ToInt(const std::string& text) { return ConvertNumber<int>(text); }

float ToFloat(const std::string& text) { return ConvertNumber<float>(text); }

std::string FromInt(int value) { return FormatNumber(value); }

std::string FromFloat(float value) { return FormatNumber(value); }

}  // namespace ktpreftext
