// Setters, lookup order, misses, removal, token expansion, dispatch through
// the virtual table and the locale. What every getter makes of a stored text
// is checked by the replay of fuzz/corpus/fuzz_prefs_file.
#include <ktbase/ktpaths.h>

#include <boost/filesystem.hpp>
#include <locale>
#include <random>
#include <sstream>
#include <stdexcept>

#include "prefs_fixture.h"

namespace {

using Strings = std::vector<std::string>;

std::string text(const PrefMap& m, const std::string& key) {
  const auto it = m.find(key);
  return it == m.end() ? "<missing>" : it->second;
}

// Records every write that reaches the text setter and can force the string
// and bool getters, to show the typed operations go through the table.
class SpyManager : public CKTPrefManager {
 public:
  using CKTPrefManager::GetPref;
  using CKTPrefManager::SetPref;
  void SetPref(const std::string& key, const std::string& value, EPrefType type) override {
    writes.push_back(key + "=" + value);
    CKTPrefManager::SetPref(key, value, type);
  }
  std::string& GetPref(const std::string&, const std::string& defaultValue, std::string& value,
                       bool) override {
    return value = "spy:" + defaultValue;
  }
  bool GetPref(const std::string&, bool, bool& value, bool) override { return value = true; }
  Strings writes;
};

}  // namespace

TEST_F(PrefsTest, LookupOrderAndSiteOnly) {
  prefs->SetPref("k", std::string("site"), kSite);
  prefs->SetPref("k", std::string("project"), kProject);
  std::string v;
  EXPECT_EQ(prefs->GetPref("k", std::string("d"), v, false), "project");
  prefs->SetPref("k", std::string("user"), kUser);
  EXPECT_EQ(prefs->GetPref("k", std::string("d"), v, false), "user");
  EXPECT_EQ(prefs->GetPref("k", std::string("d"), v, true), "site");
  prefs->SetPref("u", std::string("1"), kUser);
  EXPECT_EQ(prefs->GetPref("u", "d", v, true), "d");
  EXPECT_EQ(prefs->GetPref("none", static_cast<const char*>(nullptr), v, false), "");
  EXPECT_EQ(map(kUser).count("none"), 0u);  // a lookup inserts nothing
}

// A missing key gives the default in every typed getter and leaves no entry.
TEST_F(PrefsTest, MissingKeyGivesTheDefault) {
  int i = -1;
  float f = -1;
  bool b = false;
  EXPECT_EQ(prefs->GetPref("none", 7, i, false), 7);
  EXPECT_EQ(i, 7);
  EXPECT_EQ(prefs->GetPref("none", 2.5f, f, false), 2.5f);
  EXPECT_EQ(f, 2.5f);
  EXPECT_TRUE(prefs->GetPref("none", true, b, false));
  EXPECT_TRUE(b);
  EXPECT_TRUE(prefs->IsPref("none", true, false));
  Strings values{"old"};
  EXPECT_EQ(prefs->GetPref("none", ';', Strings{"d1", "d2"}, values, false), (Strings{"d1", "d2"}));
  unsigned long size = 42;
  prefs->GetPref("none", nullptr, size);
  EXPECT_EQ(size, 0u);
  for (auto t : {kUser, kProject, kSite}) EXPECT_TRUE(map(t).empty());
}

TEST_F(PrefsTest, RemoveBlanksTheFirstScopeOnly) {
  prefs->SetPref("k", std::string("user"), kUser);
  prefs->SetPref("k", std::string("7"), kSite);
  prefs->RemovePref("k");
  std::string s;
  EXPECT_EQ(prefs->GetPref("k", std::string("d"), s, false), "");  // found, empty
  EXPECT_EQ(prefs->GetPref("k", std::string("d"), s, true), "7");

  prefs->RemovePref("k");
  prefs->RemovePref("unknown");
  EXPECT_EQ(map(kUser), (PrefMap{{"k", ""}}));
  EXPECT_EQ(map(kSite), (PrefMap{{"k", "7"}}));
  EXPECT_TRUE(map(kProject).empty());
}

TEST_F(PrefsTest, TypedSettersFormatText) {
  prefs->SetPref("b", true, kUser);
  prefs->SetPref("n", false, kUser);
  prefs->SetPref("i", -7, kSite);
  prefs->SetPref("c", static_cast<const char*>(nullptr), kUser);
  prefs->SetPref("z", "a\0b", 3ul, kUser);
  prefs->SetPref("e", static_cast<const char*>(nullptr), 0ul, kUser);
  EXPECT_THROW(prefs->SetPref("bad", static_cast<const char*>(nullptr), 5ul, kUser),
               std::logic_error);
  EXPECT_EQ(
      map(kUser),
      (PrefMap{
          {"b", "true"}, {"n", "false"}, {"c", ""}, {"z", std::string("a\0b", 3)}, {"e", ""}}));
  EXPECT_EQ(map(kSite), (PrefMap{{"i", "-7"}}));

  // Six significant digits in general notation.
  const std::pair<float, const char*> floats[] = {
      {1e-7f, "1e-07"}, {3.14159265f, "3.14159"}, {1234567.0f, "1.23457e+06"}, {100.0f, "100"}};
  for (const auto& [value, expected] : floats) {
    SCOPED_TRACE(expected);
    prefs->SetPref("f", value, kProject);
    EXPECT_EQ(text(map(kProject), "f"), expected);
  }

  // The raw getter copies every byte, a zero byte included.
  std::string buffer(4, '#');
  unsigned long size = 0;
  prefs->GetPref("z", buffer.data(), size);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(buffer, std::string("a\0b#", 4));
}

TEST_F(PrefsTest, ListSetterJoins) {
  prefs->SetPref("l", Strings{"a", "b", "c"}, ';', kUser);
  EXPECT_EQ(text(map(kUser), "l"), "a;b;c");
  prefs->SetPref("l", Strings{"x", "y"}, ';', kUser);
  prefs->SetPref("l", Strings{}, ';', kUser);  // leaves x;y
  EXPECT_EQ(text(map(kUser), "l"), "x;y");
  prefs->SetPref("one", Strings{""}, ';', kUser);
  EXPECT_EQ(text(map(kUser), "one"), "");
}

// The lookup expands a found value; a default is returned as given, and the
// stored text stays raw.
TEST_F(PrefsTest, OnlyFoundPathValuesExpand) {
  prefs->SetPref("Temp", std::string("<ROOT_DIR>/t"), kProject);
  std::string v;
  EXPECT_EQ(prefs->GetPref("Temp", std::string(), v, false), KTGetRootDir() + "/t");
  EXPECT_EQ(prefs->GetPref("No.Path", std::string("<ROOT_DIR>"), v, false), "<ROOT_DIR>");
  EXPECT_EQ(text(map(kProject), "Temp"), "<ROOT_DIR>/t");
  // The internal lookup keeps `value` on a miss, yet expands it either way.
  v = "<ROOT_DIR>";
  EXPECT_FALSE(Peer::internal(*prefs, "Temp", v, true));
  EXPECT_EQ(v, KTGetRootDir());
  EXPECT_TRUE(Peer::internal(*prefs, "Temp", v, false));
  EXPECT_EQ(v, KTGetRootDir() + "/t");
  v = "<ROOT_DIR>";
  EXPECT_FALSE(Peer::internal(*prefs, "Long.Key", v, false));
  EXPECT_EQ(v, "<ROOT_DIR>");
}

// A replacement containing its own token is expanded once per occurrence.
TEST_F(PrefsTest, SelfContainingTokenTerminates) {
  const std::string base = path("a<APPDATA_DIR>b");
  boost::filesystem::create_directories(base);
  kttest::ScopedEnv tmp("TMPDIR", base);
  CKTPrefManager other;
  other.Writable(false);
  ASSERT_EQ(Peer::tokens(other).at("<APPDATA_DIR>"), base);
  other.SetPref("d.Path", std::string("<APPDATA_DIR>|<APPDATA_DIR>"), kUser);
  std::string v;
  EXPECT_EQ(other.GetPref("d.Path", std::string(), v, false), base + "|" + base);
}

TEST_F(PrefsTest, TypedOperationsGoThroughTheTable) {
  SpyManager spy;
  spy.Writable(false);
  spy.SetPref("b", true, kUser);
  spy.SetPref("i", 5, kUser);
  spy.SetPref("f", 0.5f, kUser);
  spy.SetPref("c", "x", kUser);
  spy.SetPref("n", "y\0z", 2ul, kAll);  // ignored scope: still dispatched
  spy.SetPref("l", Strings{"p", "q"}, ',', kUser);
  EXPECT_EQ(spy.writes,
            (Strings{"b=true", "i=5", "f=0.5", "c=x", std::string("n=y\0", 4), "l=p,q"}));
  std::string v;
  EXPECT_EQ(spy.GetPref("c", "d", v, false), "spy:d");
  EXPECT_TRUE(spy.IsPref("missing", false, false));
}

// The getters' own tree search against std::map::find.
TEST_F(PrefsTest, LookupMatchesTheMapFind) {
  // Keys that differ only in length, at a zero byte, at a byte that orders as
  // unsigned (0x80, 0xff), in any chunk of 8 bytes and in the short tails.
  std::mt19937 rng(17u);
  const char kBytes[] = {'a', 'b', '\0', '\x7f', '\x80', '\xff'};
  Strings keys = {"", std::string(300, 'k'), std::string(300, 'k') + 'k'};
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

// A host's locale: ',' as the decimal point, '.' grouping thousands.
struct CommaPoint : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

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
  const struct {
    const char* key;
    const char* text;  // set in the user scope; null: read the loaded site file. A
                       // leading '+' takes the stream's path.
    int i;
    float f;
  } cases[] = {
      {"i", nullptr, 1234567, 1234567.0f}, {"f", nullptr, 0, 0.5f}, {"n", "1,5", 1, 1.0f},
      {"n", "1.234.567", 1, 1.234f},       {"n", "+0.5", 0, 0.5f},  {"n", "+1.234.567", 1, 1.234f}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text != nullptr ? c.text : c.key);
    if (c.text != nullptr) prefs->SetPref(c.key, c.text, kUser);
    int i = -1;
    float f = -1.0f;
    EXPECT_EQ(prefs->GetPref(c.key, -1, i, c.text == nullptr), c.i);
    EXPECT_EQ(prefs->GetPref(c.key, -1.0f, f, c.text == nullptr), c.f);
  }
}
