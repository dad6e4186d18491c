#include <gtest/gtest.h>
#include <ktbase/ktuid.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>

namespace {

std::string Str(const KtUID& id) {
  char out[40];
  std::memset(out, '#', sizeof out);
  id.GetStr(out);
  EXPECT_EQ(out[36], '\0');
  EXPECT_EQ(out[37], '#');  // 37 bytes written, no more
  return out;
}

TEST(KtUIDTest, IsUID) {
  const std::string null = "00000000-0000-0000-0000-000000000000";
  struct Case {
    std::string text;
    bool valid;
  } cases[] = {
      {null, true},
      {"12345678-9abc-DEF0-0102-030405060708", true},  // mixed case
      {null.substr(0, 35), false},
      {null + "0", false},
      {"000000000-000-0000-0000-000000000000", false},  // hyphen at 8 replaced
      {"00000000-0000-0000-0000-00000000000G", false},
      {"{0000000-0000-0000-0000-000000000000", false},
      {"00000000 0000-0000-0000-000000000000", false},
      {"0000000000000000000000000000000000000", false},
      {"", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    // An exact-size heap copy: ASan reports any read past the terminator.
    std::unique_ptr<char[]> copy(new char[c.text.size() + 1]);
    std::memcpy(copy.get(), c.text.c_str(), c.text.size() + 1);
    EXPECT_EQ(KtUID::IsUID(copy.get()), c.valid);
    KtUID parsed(copy.get(), true);
    if (!c.valid) {
      EXPECT_EQ(parsed, KtUID());
    }
  }
  EXPECT_FALSE(KtUID::IsUID(nullptr));
  EXPECT_EQ(KtUID(nullptr, true), KtUID());
  EXPECT_STREQ(KtUID::GetNullUIDStr(), null.c_str());
}

TEST(KtUIDTest, ConstructorsAndFormatting) {
  EXPECT_EQ(Str(KtUID(0x12345678u, 0x9ABC, 0xDEF0, 1, 2, 3, 4, 5, 6, 7, 8)),
            "12345678-9ABC-DEF0-0102-030405060708");
  EXPECT_EQ(Str(KtUID(1u, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0)).substr(0, 9), "00000001-");
  vorn::runtime::Array<unsigned char, 16> bytes{};
  for (unsigned i = 0; i < 16; ++i) bytes[i] = static_cast<unsigned char>(0xAB);
  EXPECT_EQ(Str(KtUID(bytes)), "ABABABAB-ABAB-ABAB-ABAB-ABABABABABAB");
  bytes[15] = 0x0F;
  EXPECT_EQ(KtUID(bytes).GetBytes()[15], 0x0F);
  EXPECT_EQ(Str(KtUID()), KtUID::GetNullUIDStr());
  EXPECT_EQ(Str(KtUID(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0)), KtUID::GetNullUIDStr());
  KtUID().GetStr(nullptr);
  KtUID(bytes).GetStr(nullptr);
  // Round trips: text to bytes and back is upper case; bytes survive.
  const KtUID id("a1b2c3d4-e5f6-0718-293a-4b5c6d7e8f90", true);
  const std::string text = Str(id);
  EXPECT_EQ(text, "A1B2C3D4-E5F6-0718-293A-4B5C6D7E8F90");
  EXPECT_EQ(KtUID(text.c_str(), true), id);
  EXPECT_NE(id, KtUID());
}

// The table-driven parse and format against isxdigit and snprintf, on
// random identifiers and damaged texts.
TEST(KtUIDTest, MatchesIsxdigitAndSnprintf) {
  std::mt19937 rng(13u);
  for (int i = 0; i < 10000; ++i) {
    unsigned char b[16];
    for (unsigned char& byte : b) byte = static_cast<unsigned char>(i < 16 ? 0 : rng());
    char want[37];
    std::snprintf(want, sizeof want,
                  "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", b[0],
                  b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13],
                  b[14], b[15]);
    char got[38];
    got[37] = '#';
    KtUID(b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13],
          b[14], b[15])
        .GetStr(got);
    ASSERT_EQ(std::string(got, 38), std::string(want, 37) + "#");

    // Damage the text: a random character at a random place, a cut, or none.
    std::string text(want);
    for (char& c : text) c = rng() % 4 ? c : static_cast<char>(std::tolower(c));
    if (rng() % 2) text[rng() % text.size()] = static_cast<char>(rng() % 128);
    if (rng() % 8 == 0) text.resize(rng() % 37);
    text.resize(std::strlen(text.c_str()));
    SCOPED_TRACE(text);
    bool valid = text.size() == 36;
    for (std::size_t p = 0; p < text.size() && valid; ++p) {
      const bool hyphen = p == 8 || p == 13 || p == 18 || p == 23;
      valid = hyphen ? text[p] == '-' : std::isxdigit(static_cast<unsigned char>(text[p])) != 0;
    }
    // An exactly sized copy: reading past the terminator is a sanitizer error.
    const std::unique_ptr<char[]> exact(new char[text.size() + 1]);
    std::memcpy(exact.get(), text.c_str(), text.size() + 1);
    EXPECT_EQ(KtUID::IsUID(exact.get()), valid);
    const std::string padded = text + std::string(40, '\0');
    unsigned char bytes[16] = {};
    for (int k = 0; k < 16; ++k) {
      const int at = 2 * k + (k >= 4) + (k >= 6) + (k >= 8) + (k >= 10);
      bytes[k] = static_cast<unsigned char>(xdigitToUint8(padded[at]) << 4 |
                                            xdigitToUint8(padded[at + 1]));
    }
    EXPECT_EQ(std::memcmp(KtUID(padded.c_str(), false).GetBytes(), bytes, 16), 0);
    EXPECT_EQ(KtUID(exact.get(), true), valid ? KtUID(padded.c_str(), false) : KtUID());
  }
  for (int c = 0; c < 256; ++c) {
    const int expected =
        std::isxdigit(c) ? (std::isdigit(c) ? c - '0' : std::toupper(c) - 'A' + 10) : 255;
    EXPECT_EQ(xdigitToUint8(static_cast<char>(c)), expected) << c;
  }
}

}  // namespace
