// The fast paths against the plain standard-library algorithms they replace:
// key searches against std::map::find, number reads against a
// default-formatted std::istringstream, typed reads against the string read,
// file loads against the fgets + std::getline reader. Any drift shows here.
#include <cstdio>
#include <cstring>
#include <locale>
#include <memory>
#include <random>
#include <sstream>

#include "prefs_fixture.h"

namespace {

template <typename T>
T StreamRead(const std::string& text) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  T number = T();
  in >> number;
  return number;
}

std::string RandomNumberText(std::mt19937& rng) {
  static const char* const kPieces[] = {"0", "1", "5", "9", "00", "123", "4567", "16777216", ".",
                                        "e", "E", "-", "+", " ",  "\t",  "x",    "e-",       "e+"};
  std::string text;
  for (int n = static_cast<int>(rng() % 7); n >= 0; --n) text += kPieces[rng() % 18];
  return text;
}

// Reads a number back through the manager, as a plugin would.
template <typename T>
T ManagerRead(CKTPrefManager& prefs, const std::string& text) {
  prefs.SetPref("n", text, kUser);
  T value = T();
  return prefs.GetPref("n", T(), value, false);
}

// The loader as first written: fgets chunks appended as C strings, lines cut
// by std::getline, edges found with std::string's searches.
PrefMap ReferenceLoad(const std::string& path, std::vector<std::string>& warned) {
  std::string text;
  if (std::FILE* file = std::fopen(path.c_str(), "rt")) {
    char buffer[1024];
    while (std::fgets(buffer, sizeof buffer, file) != nullptr) text.append(buffer);
    std::fclose(file);
  }
  PrefMap prefs;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    const std::size_t equal = line.find('=');
    if (equal == std::string::npos) {
      if (line.find_first_not_of(' ') != std::string::npos) warned.push_back(line);
      continue;
    }
    const std::size_t first = line.find_first_not_of(' ');
    const std::size_t last = line.find_last_not_of(' ', equal - 1);
    const std::string key =
        line.substr(first, last == std::string::npos ? std::string::npos : last - first + 1);
    const std::size_t valueFirst = line.find_first_not_of(' ', equal + 1);
    prefs[key] = valueFirst == std::string::npos
                     ? std::string()
                     : line.substr(valueFirst, line.find_last_not_of(' ') - valueFirst + 1);
  }
  return prefs;
}

// A host's locale: ',' as the decimal point, '.' grouping thousands.
struct CommaPoint : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

}  // namespace

TEST_F(PrefsTest, LookupMatchesTheMapFind) {
  // Keys that differ only in length, at a zero byte, at a byte that orders as
  // unsigned (0x80, 0xff), in any chunk of 8 bytes and in the short tails.
  std::mt19937 rng(17u);
  const char kBytes[] = {'a', 'b', '\0', '\x7f', '\x80', '\xff'};
  std::vector<std::string> keys = {"", std::string(300, 'k'), std::string(300, 'k') + 'k'};
  for (int i = 0; i < 600; ++i) {
    std::string key = i % 3 ? keys[rng() % keys.size()] : std::string();  // a prefix of another
    for (std::size_t n = key.size() + rng() % 20; key.size() < n;) key += kBytes[rng() % 6];
    keys.push_back(key);
  }
  for (int round = 0; round < 2; ++round) {  // empty scopes, then two of three filled
    for (std::size_t i = 0; round == 1 && i < keys.size(); ++i) {
      if (rng() % 3 != 0) map(rng() % 2 ? kUser : kSite)[keys[i]] = std::to_string(i);
    }
    for (const std::string& key : keys) {
      SCOPED_TRACE(testing::PrintToString(key));
      for (const bool siteOnly : {false, true}) {
        std::string want = "missing", got;
        for (const auto scope : {kUser, kProject, kSite}) {
          const auto hit = map(scope).find(key);
          if (hit != map(scope).end() && want == "missing" && (!siteOnly || scope == kSite))
            want = hit->second;
        }
        EXPECT_EQ(prefs->GetPref(key, std::string("missing"), got, siteOnly), want) << siteOnly;
      }
    }
  }
}

TEST_F(PrefsTest, NumberReadsMatchTheStream) {
  // clang-format off
  const char* const ints[] = {
      "", " ", "0", "-0", "+7", "  42abc", "12px", "abc", "2147483647", "2147483648",
      "-2147483648", "-2147483649", "99999999999999999999", "-99999999999999999999",
      "000000000000000000000012", "0x10", "\t5", "5 6", "-", "+", "1e5", "\n\v\f\r 9", "- 5",
      "+-5", "123456789012345678", "1234567890123456789"};
  const char* const floats[] = {
      "0.5", "3.14159", "1e-07", "1e", "1e+", "1e-", "1.23457e+06", "inf", "nan", "-inf",
      "1e39", "-1e39", "1e-50", "1e-40", ".5", "5.", "-.5e1", "0x1p3", "12px", "  7", ".", "-.",
      ".e5", "e5", "1.2.3", "1e5e3", "1.5E3", "0e999", "-0", "-0.0", "16777216", "16777217",
      "1e10", "1e11", "1e-10", "1e-11", "0.000000000000000000000001", "100.000000000000",
      "340282350000000000000000000000000000000", "3.4028236e38"};
  // clang-format on
  std::mt19937 rng(7u);
  std::vector<std::string> texts(std::begin(ints), std::end(ints));
  texts.insert(texts.end(), std::begin(floats), std::end(floats));
  for (int i = 0; i < 10000; ++i) texts.push_back(RandomNumberText(rng));
  for (int i = 0; i < 10000; ++i) {  // plain decimals as the setters write them
    std::ostringstream out;
    out << std::uniform_real_distribution<float>(-1e6f, 1e6f)(rng) / (1 << (rng() % 24));
    texts.push_back(out.str());
  }
  for (const std::string& text : texts) {
    SCOPED_TRACE("text [" + text + "]");
    EXPECT_EQ(ManagerRead<int>(*prefs, text), StreamRead<int>(text));
    const float got = ManagerRead<float>(*prefs, text);
    const float want = StreamRead<float>(text);
    EXPECT_EQ(std::memcmp(&got, &want, sizeof got), 0) << got << " != " << want;
  }
}

TEST_F(PrefsTest, NumbersIgnoreTheGlobalLocale) {
  struct GlobalLocale {
    const std::locale previous =
        std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    ~GlobalLocale() { std::locale::global(previous); }
  } comma;
  std::ostringstream local;
  local << 1234567 << ' ' << 0.5f;
  ASSERT_EQ(local.str(), "1.234.567 0,5");  // the locale is in force
  prefs->SetPref("i", 1234567, kUser);
  prefs->SetPref("f", 0.5f, kUser);
  EXPECT_EQ(map(kUser), (PrefMap{{"f", "0.5"}, {"i", "1234567"}}));
  prefs->Configure(writeFile("site.prefs", "f=0.5\ni=1234567\n"), kSite);
  prefs->LoadFromDisk(kSite);
  int i = 0;
  float f = 0.0f;
  EXPECT_EQ(prefs->GetPref("i", 0, i, true), 1234567);
  EXPECT_EQ(prefs->GetPref("f", 0.0f, f, true), 0.5f);
  for (const std::string text : {"1,5", "1.234.567", "12px", "abc", "1e", "0.5e20", "2,5e-20"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(ManagerRead<float>(*prefs, text), StreamRead<float>(text));
    EXPECT_EQ(ManagerRead<int>(*prefs, text), StreamRead<int>(text));
  }
}

TEST_F(PrefsTest, TypedReadsMatchTheStringRead) {
  prefs->SetPref("Size", std::string("<ROOT_DIR>"), kUser);  // 4 characters: expanded
  prefs->SetPref("Dirs.Path", std::string("<ROOT_DIR>;<APPDATA_DIR>"), kProject);
  prefs->SetPref("blank", std::string(), kUser);
  prefs->SetPref("num.Path", std::string("12"), kSite);
  prefs->SetPref("flag", std::string("1"), kSite);
  prefs->SetPref("flag", std::string("true"), kProject);
  prefs->SetPref("list", std::string(";a;;b"), kSite);
  for (const bool siteOnly : {false, true}) {
    for (const std::string key : {"Size", "Dirs.Path", "blank", "num.Path", "flag", "list", "no"}) {
      SCOPED_TRACE(key + (siteOnly ? " site only" : ""));
      std::string text;
      const bool found = prefs->GetPref(key, std::string("\x01"), text, siteOnly) != "\x01";
      const bool use = found && !text.empty();
      int i = 0;
      float f = 0.0f;
      bool b = false;
      EXPECT_EQ(prefs->GetPref(key, -3, i, siteOnly), use ? StreamRead<int>(text) : -3);
      EXPECT_EQ(prefs->GetPref(key, -3.5f, f, siteOnly), use ? StreamRead<float>(text) : -3.5f);
      EXPECT_EQ(prefs->GetPref(key, true, b, siteOnly), use ? text == "true" || text == "1" : true);
      std::vector<std::string> list{"old"}, want{"old"};
      std::stringstream pieces(text + ";");
      for (std::string piece; found && std::getline(pieces, piece, ';');) want.push_back(piece);
      prefs->GetPref(key, ';', std::vector<std::string>{"d"}, list, siteOnly);
      EXPECT_EQ(list, found ? want : std::vector<std::string>{"d"});
      if (siteOnly) continue;
      const std::string stored = found ? text : std::string();
      std::string raw(stored.size() + 2, '#');
      unsigned long length = 99;
      prefs->GetPref(key, &raw[0], length);
      EXPECT_EQ(length, stored.size());
      EXPECT_EQ(raw, stored + "##");  // no terminator written
    }
  }
}

TEST_F(PrefsTest, LoadMatchesTheStreamReader) {
  const std::string a1022(1022, 'a'), a1023(1023, 'a');
  std::vector<std::string> files = {
      "a=1\r\nb = 2 \r\n",
      std::string("k=v\0w\nx=\0\n\0=z\n", 15),
      "k=" + a1022 + "\n",
      "k=" + a1023 + "\nn=1\n",
      a1022 + "\n" + a1023,
      "=" + a1023 + std::string("\0tail=1\nq=2", 11),
      a1023 + std::string("\0", 1) + "=1\n" + a1022 + std::string("=2\0x\n", 5),
      "k=" + std::string(5000, 'v'),
      "no final line feed",
      "     ",
      "=x\n  =x\n =  \n",
      "a=b=c\n",
      "x=1\nx=2\nx=\n",
      "c=3\na=1\nb=2\n",
      "a=1\nb=2\nc=3\n",
      "\n\n\n",
      "",
      " \t =\t \n\r\n",
  };
  std::mt19937 rng(11u);
  for (int i = 0; i < 300; ++i) {
    static const char kAlphabet[] = {'a', 'b', ' ', ' ', '=', '\n', '\r', '\t', '\0', 'k'};
    std::string bytes(rng() % 3000, ' ');
    for (char& c : bytes) c = kAlphabet[rng() % sizeof kAlphabet];
    files.push_back(bytes);
  }
  for (std::size_t i = 0; i < files.size(); ++i) {
    SCOPED_TRACE("file " + std::to_string(i));
    const std::string file = writeFile("f.prefs", files[i]);
    std::vector<std::string> warned;
    const PrefMap want = ReferenceLoad(file, warned);
    prefs->Configure(file, kSite);
    Peer::loaded(*prefs, kSite) = false;
    kttest::LogCapture log;
    EXPECT_TRUE(prefs->LoadFromDisk(kSite));
    EXPECT_EQ(map(kSite), want);
    ASSERT_EQ(log.records().size(), warned.size());
    for (std::size_t w = 0; w < warned.size(); ++w)
      EXPECT_EQ(log.records()[w].text, "Warning : Ignoring line [" + warned[w] + "] in " + file +
                                           "\nReason : No '=' token found\n");
  }
}
