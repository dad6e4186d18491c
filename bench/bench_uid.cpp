// Identifiers: validated parse and format of 1,024 random identifiers, in the
// canonical upper-case text.
//
// Peers: libuuid (uuid_parse / uuid_unparse_upper), Boost.UUID
// (string_generator / to_string, lower case), Poco::UUID (tryParse /
// toString, lower case; given std::string input, which its API needs, built
// ahead of time). Floors: a table-driven loop over the 16 digit pairs that
// validates as it decodes, and a table of the 256 digit pairs for format.
#include <Poco/UUID.h>
#include <benchmark/benchmark.h>
#include <ktbase/ktuid.h>
#include <uuid/uuid.h>

#include <array>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <cstdio>
#include <cstring>
#include <random>

#include "bench_cases.h"

namespace ktbench {
namespace {

constexpr std::size_t kCount = 1024;

struct UidSetup {
  std::vector<std::array<unsigned char, 16>> bytes;
  std::vector<std::array<char, 37>> texts;  // upper case, zero-terminated
  std::vector<std::string> strings;         // the same, for Poco
  std::vector<KtUID> ktuids;
  std::vector<boost::uuids::uuid> boostUuids;
  std::vector<Poco::UUID> pocoUuids;
};

const UidSetup& Setup() {
  static const UidSetup setup = [] {
    UidSetup s;
    std::mt19937 rng(17u);
    for (std::size_t i = 0; i < kCount; ++i) {
      std::array<unsigned char, 16> b{};
      for (unsigned char& byte : b) byte = static_cast<unsigned char>(rng());
      std::array<char, 37> text{};
      std::snprintf(text.data(), text.size(),
                    "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", b[0],
                    b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12],
                    b[13], b[14], b[15]);
      s.bytes.push_back(b);
      s.texts.push_back(text);
      s.strings.emplace_back(text.data());
      s.ktuids.emplace_back(b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10],
                            b[11], b[12], b[13], b[14], b[15]);
      boost::uuids::uuid u{};
      std::memcpy(u.data, b.data(), 16);
      s.boostUuids.push_back(u);
      s.pocoUuids.emplace_back(text.data());
    }
    return s;
  }();
  return setup;
}

// Digit value, or 0xFF for anything that is not a hexadecimal digit.
struct DigitTable {
  unsigned char value[256];
  constexpr DigitTable() : value() {
    for (int c = 0; c < 256; ++c) value[c] = 0xFF;
    for (int c = '0'; c <= '9'; ++c) value[c] = static_cast<unsigned char>(c - '0');
    for (int c = 'A'; c <= 'F'; ++c) value[c] = static_cast<unsigned char>(c - 'A' + 10);
    for (int c = 'a'; c <= 'f'; ++c) value[c] = static_cast<unsigned char>(c - 'a' + 10);
  }
};
constexpr DigitTable kDigits;

// Upper-case digit pair of every byte.
struct PairTable {
  char pair[256][2];
  constexpr PairTable() : pair() {
    const char* hex = "0123456789ABCDEF";
    for (int b = 0; b < 256; ++b) {
      pair[b][0] = hex[b >> 4];
      pair[b][1] = hex[b & 15];
    }
  }
};
constexpr PairTable kPairs;

// Where the digit pair of each byte starts in the text.
constexpr int kPairStart[16] = {0, 2, 4, 6, 9, 11, 14, 16, 19, 21, 24, 26, 28, 30, 32, 34};

// The parse floor: strict 8-4-4-4-12 syntax, checked left to right so that it
// stops at the first bad character and never reads past the zero.
bool FloorParse(const char* text, unsigned char out[16]) {
  for (int k = 0; k < 16; ++k) {
    const int at = kPairStart[k];
    if ((k == 4 || k == 6 || k == 8 || k == 10) && text[at - 1] != '-') return false;
    const unsigned char high = kDigits.value[static_cast<unsigned char>(text[at])];
    if (high > 15) return false;
    const unsigned char low = kDigits.value[static_cast<unsigned char>(text[at + 1])];
    if (low > 15) return false;
    out[k] = static_cast<unsigned char>(high << 4 | low);
  }
  return text[36] == '\0';
}

void FloorFormat(const unsigned char bytes[16], char out[37]) {
  char* p = out;
  for (int i = 0; i < 16; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) *p++ = '-';
    std::memcpy(p, kPairs.pair[bytes[i]], 2);
    p += 2;
  }
  *p = '\0';
}

bool SameText(const char* got, const char* want) { return strcasecmp(got, want) == 0; }

// Runs `step(i)` over the identifiers after `check(i)` held for each.
template <typename Step, typename Check>
void Run(benchmark::State& state, Step step, Check check) {
  for (std::size_t i = 0; i < kCount; ++i) {
    if (!check(i)) return state.SkipWithError("result differs from the expected identifier");
  }
  std::size_t next = 0;
  for (auto _ : state) {
    step(next);
    next = (next + 1) % kCount;
  }
}

void ParseKtbase(benchmark::State& state) {
  const UidSetup& s = Setup();
  Run(
      state,
      [&](std::size_t i) {
        KtUID uid(s.texts[i].data(), true);
        benchmark::DoNotOptimize(uid);
      },
      [&](std::size_t i) {
        return std::memcmp(KtUID(s.texts[i].data(), true).GetBytes(), s.bytes[i].data(), 16) == 0;
      });
}

void ParseLibuuid(benchmark::State& state) {
  const UidSetup& s = Setup();
  Run(
      state,
      [&](std::size_t i) {
        uuid_t uid;
        benchmark::DoNotOptimize(uuid_parse(s.texts[i].data(), uid));
        benchmark::DoNotOptimize(uid);
      },
      [&](std::size_t i) {
        uuid_t uid;
        return uuid_parse(s.texts[i].data(), uid) == 0 &&
               std::memcmp(uid, s.bytes[i].data(), 16) == 0;
      });
}

void ParseBoost(benchmark::State& state) {
  const UidSetup& s = Setup();
  const boost::uuids::string_generator generate;
  Run(
      state,
      [&](std::size_t i) {
        boost::uuids::uuid uid = generate(s.texts[i].data());
        benchmark::DoNotOptimize(uid);
      },
      [&](std::size_t i) { return generate(s.texts[i].data()) == s.boostUuids[i]; });
}

void ParsePoco(benchmark::State& state) {
  const UidSetup& s = Setup();
  Run(
      state,
      [&](std::size_t i) {
        Poco::UUID uid;
        benchmark::DoNotOptimize(uid.tryParse(s.strings[i]));
        benchmark::DoNotOptimize(uid);
      },
      [&](std::size_t i) {
        Poco::UUID uid;
        return uid.tryParse(s.strings[i]) && uid == s.pocoUuids[i];
      });
}

void ParseFloor(benchmark::State& state) {
  const UidSetup& s = Setup();
  Run(
      state,
      [&](std::size_t i) {
        unsigned char uid[16];
        benchmark::DoNotOptimize(FloorParse(s.texts[i].data(), uid));
        benchmark::DoNotOptimize(uid);
      },
      [&](std::size_t i) {
        unsigned char uid[16];
        return FloorParse(s.texts[i].data(), uid) && std::memcmp(uid, s.bytes[i].data(), 16) == 0;
      });
}

void FormatKtbase(benchmark::State& state) {
  const UidSetup& s = Setup();
  Run(
      state,
      [&](std::size_t i) {
        char text[37];
        s.ktuids[i].GetStr(text);
        benchmark::DoNotOptimize(text);
      },
      [&](std::size_t i) {
        char text[37];
        s.ktuids[i].GetStr(text);
        return std::strcmp(text, s.texts[i].data()) == 0;
      });
}

void FormatLibuuid(benchmark::State& state) {
  const UidSetup& s = Setup();
  Run(
      state,
      [&](std::size_t i) {
        char text[37];
        uuid_unparse_upper(s.bytes[i].data(), text);
        benchmark::DoNotOptimize(text);
      },
      [&](std::size_t i) {
        char text[37];
        uuid_unparse_upper(s.bytes[i].data(), text);
        return std::strcmp(text, s.texts[i].data()) == 0;
      });
}

void FormatBoost(benchmark::State& state) {
  const UidSetup& s = Setup();
  Run(
      state,
      [&](std::size_t i) {
        std::string text = boost::uuids::to_string(s.boostUuids[i]);
        benchmark::DoNotOptimize(text);
      },
      [&](std::size_t i) {
        return SameText(boost::uuids::to_string(s.boostUuids[i]).c_str(), s.texts[i].data());
      });
}

void FormatPoco(benchmark::State& state) {
  const UidSetup& s = Setup();
  Run(
      state,
      [&](std::size_t i) {
        std::string text = s.pocoUuids[i].toString();
        benchmark::DoNotOptimize(text);
      },
      [&](std::size_t i) {
        return SameText(s.pocoUuids[i].toString().c_str(), s.texts[i].data());
      });
}

void FormatFloor(benchmark::State& state) {
  const UidSetup& s = Setup();
  Run(
      state,
      [&](std::size_t i) {
        char text[37];
        FloorFormat(s.bytes[i].data(), text);
        benchmark::DoNotOptimize(text);
      },
      [&](std::size_t i) {
        char text[37];
        FloorFormat(s.bytes[i].data(), text);
        return std::strcmp(text, s.texts[i].data()) == 0;
      });
}

}  // namespace

void RegisterUidBenchmarks() {
  const struct {
    const char* variant;
    const char* impl;
    void (*run)(benchmark::State&);
  } cases[] = {
      {"parse", "floor", ParseFloor},     {"parse", "ktbase", ParseKtbase},
      {"parse", "libuuid", ParseLibuuid}, {"parse", "boost", ParseBoost},
      {"parse", "poco", ParsePoco},       {"format", "floor", FormatFloor},
      {"format", "ktbase", FormatKtbase}, {"format", "libuuid", FormatLibuuid},
      {"format", "boost", FormatBoost},   {"format", "poco", FormatPoco},
  };
  for (const auto& c : cases) {
    benchmark::RegisterBenchmark(CaseName("Uid", c.variant, c.impl).c_str(), c.run);
  }
}

}  // namespace ktbench
