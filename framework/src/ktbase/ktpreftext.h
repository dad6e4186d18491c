// Internal to the library: the preference text rules, apart from the files
// and the manager so that they can be tested and fuzzed in memory. Hidden
// like everything not marked KTBASE_API; the tests link the same objects.
//
// Reading a file: its bytes become one text as a chunked fgets reader joins
// them (ReaderText), and the text becomes entries line by line (ParseText).
// Reading a value: ".Path" token expansion (ExpandsTokens, ExpandTokens) and
// number conversion (ToBool, ToInt, ToFloat). Writing a number: FromInt,
// FromFloat. Numbers are read and written in the classic format whatever
// global locale the host installs, so a file means the same on every machine.
//
// Only allocation can throw, and whatever the ParseText callback throws.
#ifndef KTBASE_KTPREFTEXT_H
#define KTBASE_KTPREFTEXT_H

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace ktpreftext {

using PrefMap = std::map<std::string, std::string>;

// The reader's chunks are what fgets with a 1024-byte buffer reads: at most
// 1023 bytes, ending after a line feed or when full. A chunk starts after
// each line feed.
constexpr std::size_t kChunk = 1024 - 1;

// The text the chunked reader makes of a file's `bytes`, read to the end or,
// with `readError`, up to a failed read:
// - each chunk is appended as a C string, so a zero byte drops the rest of its
//   chunk, line feed included (deliberate: no length is kept per chunk);
// - after a read error, the chunk in progress is lost (fgets returns null for
//   it), and what came before is kept.
std::string ReaderText(std::string bytes, bool readError);

// Stores the entry of each line of `text` in `prefs`, a later line replacing
// an earlier one. Lines are cut as std::getline cuts them: a last line without
// a line feed counts, a final line feed adds no empty line. A line is split at
// its first '='; only ' ' is trimmed around key and value, and the key's edges
// keep their odd ends (a blank key part starts the key at the '=': "=abc" gives
// the key "=abc", "  =x" the key "=x"). `ignored` gets each line that has no
// '=' and is not blank; what it throws stops the parse there.
void ParseText(std::string_view text, PrefMap& prefs,
               const std::function<void(std::string_view line)>& ignored);

// key.rfind(".Path") == key.size() - 5 in unsigned arithmetic: every key that
// ends in ".Path", and deliberately every 4-character key (npos == 4 - 5).
bool ExpandsTokens(const std::string& key);
// Replaces every token of `tokens` in `value`, in the map's order, searching
// again from the start after each replacement. A replacement that holds its
// own token would never end that way: then each occurrence present is
// replaced once, left to right.
void ExpandTokens(const PrefMap& tokens, std::string& value);

// True only for "true" and "1".
bool ToBool(const std::string& text);
// Unchecked stream extraction: "12px" gives 12, "abc" and "" give 0, an
// out-of-range int its limit, an out-of-range float +-FLT_MAX.
int ToInt(const std::string& text);
float ToFloat(const std::string& text);
// A default-formatted stream's text: "-7"; 6 significant digits in general
// notation for a float ("0.5", "1e-07", "1.23457e+06").
std::string FromInt(int value);
std::string FromFloat(float value);

}  // namespace ktpreftext

#endif  // KTBASE_KTPREFTEXT_H
