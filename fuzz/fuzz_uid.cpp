// Fuzzes identifier text: IsUID against a model of the syntax, the validating
// parse (valid text formats back as its upper-case form, invalid text gives
// the null identifier), the unchecked parse from fixed digit positions, and
// the formatter.
#include <ktbase/ktuid.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "fuzz_support.h"

namespace {

bool IsHyphenPosition(size_t p) { return p == 8 || p == 13 || p == 18 || p == 23; }

bool ModelIsUID(const char* text) {
  for (size_t p = 0; p < 36; ++p) {
    const unsigned char c = static_cast<unsigned char>(text[p]);
    if (IsHyphenPosition(p) ? c != '-' : !std::isxdigit(c)) return false;
  }
  return text[36] == '\0';
}

unsigned char DigitValue(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned char>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<unsigned char>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<unsigned char>(c - 'A' + 10);
  return 255;
}

const size_t kPairStart[16] = {0, 2, 4, 6, 9, 11, 14, 16, 19, 21, 24, 26, 28, 30, 32, 34};

void CheckFormats(const KtUID& id) {
  char out[40];
  std::memset(out, 'x', sizeof out);
  id.GetStr(out);
  FUZZ_CHECK(out[36] == '\0' && out[37] == 'x');
  FUZZ_CHECK(KtUID::IsUID(out));
  for (size_t p = 0; p < 36; ++p) FUZZ_CHECK(!std::islower(static_cast<unsigned char>(out[p])));
  for (size_t k = 0; k < 16; ++k) {
    const size_t at = kPairStart[k];
    FUZZ_CHECK(id.GetBytes()[k] == ((DigitValue(out[at]) << 4) | DigitValue(out[at + 1])));
  }
  FUZZ_CHECK(KtUID(out, true) == id);
  FUZZ_CHECK(KtUID(out, false) == id);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The text as a C string (cut at a zero byte in the input), in a heap
  // block of its exact size: a read past the terminator is caught by ASan.
  const std::string text(reinterpret_cast<const char*>(data), size);
  const size_t length = std::strlen(text.c_str());
  const std::unique_ptr<char[]> exact(new char[length + 1]);
  std::memcpy(exact.get(), text.c_str(), length + 1);
  const char* c = exact.get();

  for (char ch : text) FUZZ_CHECK(xdigitToUint8(ch) == DigitValue(ch));
  FUZZ_CHECK(!KtUID::IsUID(nullptr));
  FUZZ_CHECK(KtUID(nullptr, true) == KtUID());
  FUZZ_CHECK(KtUID(nullptr, false) == KtUID());

  const bool valid = KtUID::IsUID(c);
  FUZZ_CHECK(valid == ModelIsUID(c));
  const KtUID checked(c, true);
  if (valid) {
    char out[37];
    checked.GetStr(out);
    for (size_t p = 0; p < 36; ++p)
      FUZZ_CHECK(out[p] == static_cast<char>(std::toupper(static_cast<unsigned char>(c[p]))));
  } else {
    FUZZ_CHECK(checked == KtUID());
    char out[37];
    checked.GetStr(out);
    FUZZ_CHECK(std::strcmp(out, KtUID::GetNullUIDStr()) == 0);
  }
  CheckFormats(checked);

  // The unchecked parse reads 36 characters from fixed places: give it a
  // buffer that has them (zero-padded), as its contract requires.
  std::vector<char> padded(text.begin(), text.end());
  padded.resize(std::max<size_t>(padded.size(), 36) + 1, '\0');
  const KtUID loose(padded.data(), false);
  for (size_t k = 0; k < 16; ++k) {
    const size_t at = kPairStart[k];
    const unsigned byte = ((DigitValue(padded[at]) * 16u) | DigitValue(padded[at + 1])) & 0xFFu;
    FUZZ_CHECK(loose.GetBytes()[k] == byte);
  }
  if (valid) FUZZ_CHECK(loose == checked);
  CheckFormats(loose);

  // The 16 bytes taken straight from the input.
  if (size >= 16) {
    vorn::runtime::Array<unsigned char, 16> bytes{};
    for (size_t k = 0; k < 16; ++k) bytes[k] = data[k];
    const KtUID raw(bytes);
    FUZZ_CHECK(std::memcmp(raw.GetBytes(), data, 16) == 0);
    CheckFormats(raw);
  }
  return 0;
}
