/// @file
/// KtUID, a 128-bit identifier with its canonical text form.
/// @ingroup modules
#ifndef KTBASE_KTUID_H
#define KTBASE_KTUID_H

#include <ktbase/ktbase_export.h>
#include <ktbase/vornarray.h>

/// A 128-bit identifier: a plain 16-byte value whose canonical text is 36
/// upper-case characters, "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX". Byte i is
/// the i-th digit pair of the text (big-endian for the field constructor).
/// Nothing here allocates, throws or logs. Copy it freely.
/// @threadsafe Every operation, on distinct objects or on one object that
/// nobody changes.
/// @ingroup modules
class KTBASE_API KtUID {
 public:
  /// The null identifier (all bytes 0).
  KtUID();
  /// The identifier of 16 bytes, in text order.
  /// @param b0 Byte 0. @param b1 Byte 1. @param b2 Byte 2. @param b3 Byte 3.
  /// @param b4 Byte 4. @param b5 Byte 5. @param b6 Byte 6. @param b7 Byte 7.
  /// @param b8 Byte 8. @param b9 Byte 9. @param b10 Byte 10.
  /// @param b11 Byte 11. @param b12 Byte 12. @param b13 Byte 13.
  /// @param b14 Byte 14. @param b15 Byte 15.
  KtUID(unsigned char b0, unsigned char b1, unsigned char b2, unsigned char b3, unsigned char b4,
        unsigned char b5, unsigned char b6, unsigned char b7, unsigned char b8, unsigned char b9,
        unsigned char b10, unsigned char b11, unsigned char b12, unsigned char b13,
        unsigned char b14, unsigned char b15);
  /// The identifier of the fields of the text form.
  /// @param word Bytes 0-3, big-endian.
  /// @param half1 Bytes 4-5, big-endian.
  /// @param half2 Bytes 6-7, big-endian.
  /// @param d0 Byte 8. @param d1 Byte 9. @param d2 Byte 10. @param d3 Byte 11.
  /// @param d4 Byte 12. @param d5 Byte 13. @param d6 Byte 14. @param d7 Byte 15.
  KtUID(unsigned int word, unsigned short half1, unsigned short half2, unsigned char d0,
        unsigned char d1, unsigned char d2, unsigned char d3, unsigned char d4, unsigned char d5,
        unsigned char d6, unsigned char d7);
  /// The identifier of 16 bytes, in text order.
  /// @param bytes The bytes (copied).
  explicit KtUID(const vorn::runtime::Array<unsigned char, 16>& bytes);
  /// Parses the text form.
  /// @param text The text; null gives the null identifier.
  /// @param validate True: text failing IsUID() gives the null identifier.
  ///   False: the 16 digit pairs are read from their fixed places unchecked
  ///   (a bad digit counts as 255, so a bad low digit gives 0xFF and a bad
  ///   high digit alone 0xF0 | low); the text must then have at least 36
  ///   readable characters.
  KtUID(const char* text, bool validate);

  /// Checks the text form: exactly 8-4-4-4-12 hexadecimal digits of either
  /// case, hyphens at 8, 13, 18 and 23, then the end. Never reads past the
  /// end.
  /// @param text The text; null gives false.
  /// @return True for a valid text.
  static bool IsUID(const char* text);
  /// Writes the 36-character upper-case text and a zero.
  /// @param out At least 37 bytes of the caller's; null does nothing.
  void GetStr(char* out) const;
  /// @return "00000000-0000-0000-0000-000000000000": static, do not free.
  static const char* GetNullUIDStr();

  /// @return The 16 bytes, in text order; valid while the object lives.
  const unsigned char* GetBytes() const { return m_bytes; }
  /// @param other The identifier to compare with.
  /// @return True when all 16 bytes are equal.
  bool operator==(const KtUID& other) const;
  /// @param other The identifier to compare with.
  /// @return True when a byte differs.
  bool operator!=(const KtUID& other) const { return !(*this == other); }

 private:
  unsigned char m_bytes[16];
};

/// The value of one hexadecimal digit.
/// @param c The character.
/// @return 0-15; 255 for any other character.
/// @threadsafe
/// @ingroup modules
KTBASE_API unsigned char xdigitToUint8(const char& c);

#endif  // KTBASE_KTUID_H
