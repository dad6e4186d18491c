// Setters, lookup order, misses, removal, token expansion and dispatch through
// the virtual table. What every getter makes of a stored text is checked by
// the replay of the fuzz target fuzz_pref_text; number texts in any locale by
// prefs_text_test.cpp.
#include <ktbase/ktpaths.h>

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
