// KtUID: a 128-bit identifier, a plain 16-byte value whose canonical text is
// 36 upper-case characters, "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX". Byte i is
// the i-th digit pair of the text (big-endian for the field constructor).
// Nothing here allocates, throws or logs.
#ifndef KTBASE_KTUID_H
#define KTBASE_KTUID_H

#include <ktbase/ktbase_export.h>
#include <ktbase/vornarray.h>

class KTBASE_API KtUID {
 public:
  // The null identifier (all bytes 0).
  KtUID();
  KtUID(unsigned char b0, unsigned char b1, unsigned char b2, unsigned char b3, unsigned char b4,
        unsigned char b5, unsigned char b6, unsigned char b7, unsigned char b8, unsigned char b9,
        unsigned char b10, unsigned char b11, unsigned char b12, unsigned char b13,
        unsigned char b14, unsigned char b15);
  // `word`, `half1`, `half2` stored big-endian in bytes 0-3, 4-5, 6-7.
  KtUID(unsigned int word, unsigned short half1, unsigned short half2, unsigned char d0,
        unsigned char d1, unsigned char d2, unsigned char d3, unsigned char d4, unsigned char d5,
        unsigned char d6, unsigned char d7);
  explicit KtUID(const vorn::runtime::Array<unsigned char, 16>& bytes);
  // With `validate`, text failing IsUID() gives the null identifier (null
  // text included). Without, the 16 digit pairs are read from their fixed
  // positions unchecked (a bad digit counts as 255, so a bad low digit gives
  // 0xFF and a bad high digit alone 0xF0 | low): the text must then have at
  // least 36 readable characters (null gives the null identifier).
  KtUID(const char* text, bool validate);

  // Exactly 8-4-4-4-12 hexadecimal digits of either case, hyphens at 8, 13,
  // 18, 23, then the end. Null gives false. Never reads past the end.
  static bool IsUID(const char* text);
  // Writes the 36-character upper-case text and a zero (37 bytes). Null
  // `out` does nothing.
  void GetStr(char* out) const;
  // "00000000-0000-0000-0000-000000000000"; static, do not free.
  static const char* GetNullUIDStr();

  // The 16 bytes, in text order.
  const unsigned char* GetBytes() const { return m_bytes; }
  bool operator==(const KtUID& other) const;
  bool operator!=(const KtUID& other) const { return !(*this == other); }

 private:
  unsigned char m_bytes[16];
};

// Value of one hexadecimal digit (0-15); 255 for any other character.
KTBASE_API unsigned char xdigitToUint8(const char& c);

#endif  // KTBASE_KTUID_H
