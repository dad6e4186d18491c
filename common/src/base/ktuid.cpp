// 128-bit identifiers and their canonical text form.
//
// Parsing and formatting are table-driven: one 256-entry digit table and one
// table of the 256 upper-case digit pairs. The digit table classifies exactly
// as std::isxdigit does in the C locale ('0'-'9', 'a'-'f', 'A'-'F'), and the
// pair table writes what "%02X" writes, so the text is byte for byte the
// snprintf form.
#include <ktbase/ktuid.h>

#include <cstring>

namespace {

const char NULL_UID_STR[] = "00000000-0000-0000-0000-000000000000";
constexpr int kTextLength = 36;
constexpr unsigned char kNotADigit = 255;

// Value of every byte as a hexadecimal digit, kNotADigit for anything else.
struct DigitTable {
  unsigned char value[256];
  constexpr DigitTable() : value() {
    for (int c = 0; c < 256; ++c) value[c] = kNotADigit;
    for (int c = '0'; c <= '9'; ++c) value[c] = static_cast<unsigned char>(c - '0');
    for (int c = 'a'; c <= 'f'; ++c) value[c] = static_cast<unsigned char>(c - 'a' + 10);
    for (int c = 'A'; c <= 'F'; ++c) value[c] = static_cast<unsigned char>(c - 'A' + 10);
  }
};
constexpr DigitTable kDigits;

// The two upper-case digits of every byte value.
struct PairTable {
  char pair[256][2];
  constexpr PairTable() : pair() {
    const char hex[] = "0123456789ABCDEF";
    for (int b = 0; b < 256; ++b) {
      pair[b][0] = hex[b >> 4];
      pair[b][1] = hex[b & 15];
    }
  }
};
constexpr PairTable kPairs;

// Where the digit pair of each byte starts in the text form.
constexpr int kPairStart[16] = {0, 2, 4, 6, 9, 11, 14, 16, 19, 21, 24, 26, 28, 30, 32, 34};

inline unsigned char Digit(char c) { return kDigits.value[static_cast<unsigned char>(c)]; }

// Strict syntax, decoding as it goes into `bytes` (which holds garbage when
// it fails). Reads left to right and stops at the first character that fails
// (the terminating zero fails every test), so it never reads past the end.
bool ParseStrict(const char* text, unsigned char bytes[16]) {
  for (int k = 0; k < 16; ++k) {
    const int at = kPairStart[k];
    // Byte 4, 6, 8 and 10 follow a hyphen.
    if ((k == 4 || k == 6 || k == 8 || k == 10) && text[at - 1] != '-') return false;
    const unsigned char high = Digit(text[at]);
    if (high == kNotADigit) return false;
    const unsigned char low = Digit(text[at + 1]);
    if (low == kNotADigit) return false;
    bytes[k] = static_cast<unsigned char>(high << 4 | low);
  }
  return text[kTextLength] == '\0';
}

}  // namespace

unsigned char xdigitToUint8(const char& c) { return Digit(c); }

KtUID::KtUID() : m_bytes{} {}

KtUID::KtUID(unsigned char b0, unsigned char b1, unsigned char b2, unsigned char b3,
             unsigned char b4, unsigned char b5, unsigned char b6, unsigned char b7,
             unsigned char b8, unsigned char b9, unsigned char b10, unsigned char b11,
             unsigned char b12, unsigned char b13, unsigned char b14, unsigned char b15)
    : m_bytes{b0, b1, b2, b3, b4, b5, b6, b7, b8, b9, b10, b11, b12, b13, b14, b15} {}

// Network order, whatever the host's: the text reads like the numbers.
KtUID::KtUID(unsigned int word, unsigned short half1, unsigned short half2, unsigned char d0,
             unsigned char d1, unsigned char d2, unsigned char d3, unsigned char d4,
             unsigned char d5, unsigned char d6, unsigned char d7)
    : m_bytes{static_cast<unsigned char>(word >> 24),
              static_cast<unsigned char>(word >> 16),
              static_cast<unsigned char>(word >> 8),
              static_cast<unsigned char>(word),
              static_cast<unsigned char>(half1 >> 8),
              static_cast<unsigned char>(half1),
              static_cast<unsigned char>(half2 >> 8),
              static_cast<unsigned char>(half2),
              d0,
              d1,
              d2,
              d3,
              d4,
              d5,
              d6,
              d7} {}

KtUID::KtUID(const vorn::runtime::Array<unsigned char, 16>& bytes) : m_bytes{} {
  std::memcpy(m_bytes, bytes.data(), sizeof m_bytes);
}

KtUID::KtUID(const char* text, bool validate) : m_bytes{} {
  // A null text is the null identifier either way (no reading to be done).
  if (text == nullptr) return;
  if (validate) {
    // Same result as IsUID() first and the unchecked read after: on success
    // every digit is valid, on failure the bytes go back to zero.
    unsigned char bytes[16];
    if (ParseStrict(text, bytes)) std::memcpy(m_bytes, bytes, sizeof m_bytes);
    return;
  }
  // Unchecked: hyphen places are skipped unseen; a bad digit counts as 255,
  // and the byte keeps the low 8 bits of (high << 4 | low).
  for (int k = 0; k < 16; ++k) {
    const unsigned high = Digit(text[kPairStart[k]]);
    const unsigned low = Digit(text[kPairStart[k] + 1]);
    m_bytes[k] = static_cast<unsigned char>(((high << 4) | low) & 0xFFu);
  }
}

bool KtUID::IsUID(const char* text) {
  if (text == nullptr) return false;
  unsigned char bytes[16];
  return ParseStrict(text, bytes);
}

void KtUID::GetStr(char* out) const {
  if (out == nullptr) return;
  static const unsigned char kZero[16] = {};
  if (std::memcmp(m_bytes, kZero, sizeof m_bytes) == 0) {
    std::memcpy(out, NULL_UID_STR, sizeof NULL_UID_STR);
    return;
  }
  char* p = out;
  for (int k = 0; k < 16; ++k) {
    if (k == 4 || k == 6 || k == 8 || k == 10) *p++ = '-';
    std::memcpy(p, kPairs.pair[m_bytes[k]], 2);
    p += 2;
  }
  *p = '\0';
}

const char* KtUID::GetNullUIDStr() { return NULL_UID_STR; }

bool KtUID::operator==(const KtUID& other) const {
  return std::memcmp(m_bytes, other.m_bytes, sizeof m_bytes) == 0;
}
