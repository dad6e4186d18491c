// Fuzzes the plug-in host kit's parsers. The bytes as a module file: the
// record reader never crashes, its status and reason agree, and libelf (the
// reference) finds the same record in the same note segments whenever the
// reader accepts the file. The bytes as a verdict cache: a text that parses
// formats and parses back to the same entries.
#include <gelf.h>
#include <ktbase/ktuid.h>
#include <libelf.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "verdict_cache.h"

namespace {

using ktpluginhost::RecordStatus;

// The record note as libelf sees it: in a PT_NOTE segment aligned to at most
// 4, owner "KtPlugin", type 1. False when libelf cannot read the image.
bool LibelfRecord(std::vector<char>& image, bool& found, int& version, std::string& text) {
  found = false;
  Elf* elf = elf_memory(image.data(), image.size());
  if (elf == nullptr) return false;
  std::size_t count = 0;
  bool ok = elf_kind(elf) == ELF_K_ELF && elf_getphdrnum(elf, &count) == 0;
  for (std::size_t i = 0; ok && i < count; ++i) {
    GElf_Phdr phdr;
    if (gelf_getphdr(elf, static_cast<int>(i), &phdr) == nullptr) ok = false;
    if (!ok || phdr.p_type != PT_NOTE || phdr.p_align > 4) continue;
    Elf_Data* data =
        elf_getdata_rawchunk(elf, static_cast<int64_t>(phdr.p_offset), phdr.p_filesz, ELF_T_NHDR);
    if (data == nullptr) continue;
    GElf_Nhdr note;
    std::size_t nameAt = 0, descAt = 0;
    for (std::size_t at = 0; (at = gelf_getnote(data, at, &note, &nameAt, &descAt)) > 0;) {
      const char* bytes = static_cast<const char*>(data->d_buf);
      if (note.n_namesz != 9 || std::memcmp(bytes + nameAt, "KtPlugin", 9) != 0 ||
          note.n_type != 1 || note.n_descsz < 24)
        continue;
      found = true;
      std::int32_t value;
      std::memcpy(&value, bytes + descAt + 4, 4);
      version = value;
      text.assign(bytes + descAt + 8, strnlen(bytes + descAt + 8, 16));
    }
  }
  elf_end(elf);
  return ok;
}

void CheckRecord(const uint8_t* data, size_t size) {
  static const std::string file = ktfuzz::InFolder("module.so");
  std::FILE* out = std::fopen(file.c_str(), "wb");
  FUZZ_CHECK(out != nullptr);
  FUZZ_CHECK(std::fwrite(data, 1, size, out) == size);
  std::fclose(out);
  ktpluginhost::PluginRecord record;
  std::string why;
  const RecordStatus status = ktpluginhost::ReadPluginRecord(file, record, why);
  const bool read = status == RecordStatus::kRecord || status == RecordStatus::kNoRecord;
  FUZZ_CHECK(why.empty() == read);
  FUZZ_CHECK(record.present == (status == RecordStatus::kRecord));
  FUZZ_CHECK(record.uid.empty() || KtUID::IsUID(record.uid.c_str()));
  if (!read) return;
  std::vector<char> image(data, data + size);
  bool found = false;
  int version = 0;
  std::string text;
  if (!LibelfRecord(image, found, version, text)) return;
  FUZZ_CHECK(found == record.present);
  FUZZ_CHECK(!found || (version == record.interfaceVersion && text == record.ktbaseVersion));
}

void CheckCache(const uint8_t* data, size_t size) {
  std::map<std::string, ktpluginhost::CacheEntry> entries, again;
  if (!ktpluginhost::Parse(std::string(reinterpret_cast<const char*>(data), size), entries)) {
    FUZZ_CHECK(entries.empty());
    return;
  }
  const std::string text = ktpluginhost::Format(entries);
  FUZZ_CHECK(ktpluginhost::Parse(text, again));
  FUZZ_CHECK(again.size() == entries.size() && ktpluginhost::Format(again) == text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool ready = elf_version(EV_CURRENT) != EV_NONE;
  FUZZ_CHECK(ready);
  CheckRecord(data, size);
  CheckCache(data, size);
  return 0;
}
