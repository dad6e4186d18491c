// The constructors that take numbers. Text parsing, the syntax test and the
// formatter are checked against a model on every file of
// fuzz/corpus/fuzz_uid (the corpus.fuzz_uid test).
#include <gtest/gtest.h>
#include <ktbase/ktuid.h>

namespace {

TEST(KtUIDTest, NumberConstructorsStoreTheTextOrder) {
  // The fields are big-endian whatever the host's order.
  EXPECT_EQ(KtUID(0x12345678u, 0x9ABC, 0xDEF0, 1, 2, 3, 4, 5, 6, 7, 8),
            KtUID(0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0, 1, 2, 3, 4, 5, 6, 7, 8));
  vorn::runtime::Array<unsigned char, 16> bytes{};
  for (unsigned i = 0; i < 16; ++i) bytes[i] = static_cast<unsigned char>(0xF0 + i);
  EXPECT_EQ(KtUID(bytes),
            KtUID(0xF0F1F2F3u, 0xF4F5, 0xF6F7, 0xF8, 0xF9, 0xFA, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF));
  EXPECT_NE(KtUID(bytes), KtUID());
  KtUID(bytes).GetStr(nullptr);  // does nothing
}

}  // namespace
