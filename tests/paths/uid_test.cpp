#include <gtest/gtest.h>
#include <ktbase/ktuid.h>

#include <cstring>
#include <memory>
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

}  // namespace
