// 128-bit identifiers and their canonical text form.
#include <ktbase/ktuid.h>

#include <cctype>
#include <cstdio>
#include <cstring>

namespace {

const char NULL_UID_STR[] = "00000000-0000-0000-0000-000000000000";
const int kTextLength = 36;
// Where the digit pair of each byte starts in the text form.
const int kPairStart[16] = {0, 2, 4, 6, 9, 11, 14, 16, 19, 21, 24, 26, 28, 30, 32, 34};

bool IsHyphenPosition(int p) { return p == 8 || p == 13 || p == 18 || p == 23; }

}  // namespace

unsigned char xdigitToUint8(const char& c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned char>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<unsigned char>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<unsigned char>(c - 'A' + 10);
  return 255;
}

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
  if (text == nullptr || (validate && !IsUID(text))) {
    return;
  }
  // Unchecked: hyphen places are skipped unseen; a bad digit counts as 255.
  for (int k = 0; k < 16; ++k) {
    const unsigned high = xdigitToUint8(text[kPairStart[k]]);
    const unsigned low = xdigitToUint8(text[kPairStart[k] + 1]);
    m_bytes[k] = static_cast<unsigned char>(((high << 4) | low) & 0xFFu);
  }
}

bool KtUID::IsUID(const char* text) {
  if (text == nullptr) {
    return false;
  }
  // The terminating zero fails both tests, so a short text stops at its end.
  for (int p = 0; p < kTextLength; ++p) {
    const unsigned char c = static_cast<unsigned char>(text[p]);
    if (IsHyphenPosition(p) ? c != '-' : !std::isxdigit(c)) {
      return false;
    }
  }
  return text[kTextLength] == '\0';
}

void KtUID::GetStr(char* out) const {
  if (out == nullptr) {
    return;
  }
  static const unsigned char kZero[16] = {};
  if (std::memcmp(m_bytes, kZero, sizeof m_bytes) == 0) {
    std::memcpy(out, NULL_UID_STR, sizeof NULL_UID_STR);
    return;
  }
  const unsigned char* b = m_bytes;
  std::snprintf(out, sizeof NULL_UID_STR,
                "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", b[0], b[1],
                b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13], b[14],
                b[15]);
}

const char* KtUID::GetNullUIDStr() { return NULL_UID_STR; }

bool KtUID::operator==(const KtUID& other) const {
  return std::memcmp(m_bytes, other.m_bytes, sizeof m_bytes) == 0;
}
