// The preference internals in memory: the text rules (ktpreftext.h) where the
// file path reaches them only indirectly (the reader's chunks with the
// zero-byte and read-error rules, token expansion, number texts in any
// locale), and the getters' key search (ktprefmanager_search.h) with its
// checked mode. Line parsing is checked against a model by the replay of the
// fuzz target fuzz_pref_text.
#include <gtest/gtest.h>

#include <locale>
#include <random>
#include <sstream>
#include <tuple>

#include "ktprefmanager_search.h"
#include "ktpreftext.h"

namespace {

using namespace ktpreftext;

TEST(PrefTextTest, ReaderKeepsWhatFgetsWould) {
  const std::string full(kChunk, 'x');  // one chunk without a line feed
  const std::tuple<std::string, bool, std::string> cases[] = {
      // bytes, read error, text
      {std::string("a\0b\nc=1\n", 8), false, "ac=1\n"},      // the rest of the chunk, line feed too
      {full + std::string("\0y\nz", 4), false, full + "z"},  // ... of its own chunk only
      {full + "\n" + std::string(3000, '\0'), false, full + "\n"},
      {"a=1\nb=2", true, "a=1\n"},  // the chunk in progress is lost
      {"a=1\n", true, "a=1\n"},
      {full + "yz", true, full},  // a full chunk was read before the error
      {std::string("\0a=1\nb", 6), true, ""},
  };
  for (const auto& [bytes, readError, text] : cases) {
    SCOPED_TRACE(testing::PrintToString(bytes.substr(0, 12)) + (readError ? ", error" : ""));
    EXPECT_EQ(ReaderText(bytes, readError), text);
  }
}

TEST(PrefTextTest, TokenExpansion) {
  const std::tuple<PrefMap, std::string, std::string> cases[] = {
      // tokens, value, expanded
      {{{"<R>", "/r"}}, "<R>|<R>", "/r|/r"},
      {{{"<R>", "<"}}, "<R>R>", "<"},                    // searched again from the start
      {{{"<R>", "a<R>b"}}, "<R>|<R>", "a<R>b|a<R>b"},    // holds its token: once each
      {{{"<A>", "<B>"}, {"<B>", "b"}}, "<A><B>", "bb"},  // in the map's order
      {{{"", "x"}}, "ab", "ab"},
  };
  for (const auto& [tokens, value, expanded] : cases) {
    std::string text = value;
    ExpandTokens(tokens, text);
    EXPECT_EQ(text, expanded) << value;
  }
}

// A host's locale: ',' as the decimal point, '.' grouping thousands.
struct CommaPoint : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(PrefTextTest, NumbersIgnoreTheGlobalLocale) {
  struct GlobalLocale {
    const std::locale previous =
        std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    ~GlobalLocale() { std::locale::global(previous); }
  } comma;
  std::ostringstream local;
  local << 1234567 << ' ' << 0.5f;
  ASSERT_EQ(local.str(), "1.234.567 0,5");  // the locale is in force
  EXPECT_EQ(FromInt(-1234567), "-1234567");
  // Six significant digits in general notation.
  const std::pair<float, const char*> floats[] = {{0.5f, "0.5"},
                                                  {1e-7f, "1e-07"},
                                                  {3.14159265f, "3.14159"},
                                                  {1234567.0f, "1.23457e+06"},
                                                  {100.0f, "100"}};
  for (const auto& [value, text] : floats) EXPECT_EQ(FromFloat(value), text);
  // A leading '+' takes the stream's path, the rest a faster one: same results.
  const std::tuple<const char*, int, float> cases[] = {{"1234567", 1234567, 1234567.0f},
                                                       {"0.5", 0, 0.5f},
                                                       {"1,5", 1, 1.0f},
                                                       {"1.234.567", 1, 1.234f},
                                                       {"+0.5", 0, 0.5f},
                                                       {"+1.234.567", 1, 1.234f},
                                                       {"12px", 12, 12.0f},
                                                       {"2147483648", 2147483647, 2147483648.0f}};
  for (const auto& [text, i, f] : cases) {
    SCOPED_TRACE(text);
    EXPECT_EQ(ToInt(text), i);
    EXPECT_EQ(ToFloat(text), f);
  }
}

// Keys that differ only in length, at a zero byte, at a byte that orders as
// unsigned (0x80, 0xff), in any chunk of 8 bytes and in the short tails.
TEST(PrefSearchTest, FindsWhatTheMapFinds) {
  std::mt19937 rng(17u);
  const char kBytes[] = {'a', 'b', '\0', '\x7f', '\x80', '\xff'};
  std::vector<std::string> keys = {"", std::string(300, 'k'), std::string(300, 'k') + 'k'};
  ktprefsearch::PrefMap map;
  for (int i = 0; i < 600; ++i) {
    std::string key = i % 3 ? keys[rng() % keys.size()] : std::string();  // a prefix of another
    for (std::size_t n = key.size() + rng() % 20; key.size() < n;) key += kBytes[rng() % 6];
    keys.push_back(key);
    if (i % 4 != 0) map[key];
  }
  for (const std::string& key : keys) {
    SCOPED_TRACE(testing::PrintToString(key));
    EXPECT_EQ(ktprefsearch::FindValue(map, ktprefsearch::SearchKey(key)),
              ktprefsearch::FindWithMap(map, key));
    EXPECT_EQ(ktprefsearch::FindValue({}, ktprefsearch::SearchKey(key)), nullptr);
  }
}

TEST(PrefSearchDeathTest, CheckedSearchAbortsOnADifference) {
  const ktprefsearch::PrefMap map{{"a", "1"}};
  ktprefsearch::CheckAnswer(map, "a", &map.at("a"));
  EXPECT_DEATH(ktprefsearch::CheckAnswer(map, "a", nullptr), "disagrees with std::map::find");
}

}  // namespace
