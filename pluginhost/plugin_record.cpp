// ReadPluginRecord: the plug-in record, from the module's file alone.
//
// A reader of its own rather than libelf: it needs the ELF header, the
// program headers and the note segments, which the linker puts in the first
// page, so one read of that page usually serves (libelf's descriptor reads
// cost about five times a stat() per module here, against the three the host
// can afford). Every field is checked against the bytes actually read; the
// fuzz target compares it with libelf on every input.
#include <fcntl.h>
#include <ktbase/ktplugin.h>
#include <ktbase/ktpluginhost.h>
#include <ktbase/ktuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <vector>

namespace ktpluginhost {

namespace {

constexpr std::size_t kHeadSize = 4096;  // the page the linker starts with
constexpr std::uint64_t kEhdrSize = 64, kPhdrSize = 56, kShdrSize = 64;
constexpr std::uint32_t kPtLoad = 1, kPtNote = 4;
constexpr std::uint64_t kMaxNotes = 1 << 16;  // far more than any module's notes

std::uint64_t Load(const unsigned char* at, int bytes) {
  std::uint64_t value = 0;  // little-endian, whatever the host's order
  for (int i = bytes - 1; i >= 0; --i) value = (value << 8) | at[i];
  return value;
}

// The file's bytes: the first page in memory, anything else read on demand.
class Image {
 public:
  Image(int fd, std::uint64_t size) : m_fd(fd), m_size(size) {}

  bool ReadHead() {
    m_head.resize(m_size < kHeadSize ? static_cast<std::size_t>(m_size) : kHeadSize);
    return ReadAt(0, m_head);
  }
  std::uint64_t Size() const { return m_size; }
  // `length` bytes at `offset`, or null when the file has fewer.
  const unsigned char* Bytes(std::uint64_t offset, std::uint64_t length) {
    if (offset > m_size || length > m_size - offset) return nullptr;
    if (offset + length <= m_head.size()) return m_head.data() + offset;
    m_extra.resize(static_cast<std::size_t>(length));
    return ReadAt(offset, m_extra) ? m_extra.data() : nullptr;
  }

 private:
  bool ReadAt(std::uint64_t offset, std::vector<unsigned char>& into) {
    std::size_t done = 0;
    while (done < into.size()) {
      const ssize_t got =
          pread(m_fd, into.data() + done, into.size() - done, static_cast<off_t>(offset + done));
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return false;
      done += static_cast<std::size_t>(got);
    }
    return true;
  }

  int m_fd;
  std::uint64_t m_size;
  std::vector<unsigned char> m_head, m_extra;
};

struct Reader {
  Image& image;
  PluginRecord& record;
  std::string& why;

  RecordStatus Fail(RecordStatus status, const std::string& reason) {
    why = reason;
    record = PluginRecord();
    return status;
  }
  RecordStatus Truncated(std::uint64_t needed) {
    return Fail(RecordStatus::kDamaged, "truncated: " + std::to_string(image.Size()) +
                                            " bytes, its headers describe " +
                                            std::to_string(needed));
  }

  RecordStatus Read() {
    const unsigned char* ident = image.Bytes(0, 4);
    if (ident == nullptr || std::memcmp(ident,
                                        "\x7f"
                                        "ELF",
                                        4) != 0)
      return Fail(RecordStatus::kNotModule, "not an ELF file");
    ident = image.Bytes(0, 16);
    if (ident == nullptr) return Truncated(16);
    if (ident[4] == 1)
      return Fail(RecordStatus::kOtherTarget, "a 32-bit ELF file; this host is 64-bit");
    if (ident[4] != 2)
      return Fail(RecordStatus::kDamaged, "unknown ELF class " + std::to_string(ident[4]));
    if (ident[5] == 2) return Fail(RecordStatus::kOtherTarget, "a big-endian ELF file");
    if (ident[5] != 1)
      return Fail(RecordStatus::kDamaged, "unknown ELF byte order " + std::to_string(ident[5]));
    const unsigned char* ehdr = image.Bytes(0, kEhdrSize);
    if (ehdr == nullptr) return Truncated(kEhdrSize);
    const std::uint64_t type = Load(ehdr + 16, 2), machine = Load(ehdr + 18, 2);
    if (type != 3)
      return Fail(RecordStatus::kNotModule,
                  "an ELF file of type " + std::to_string(type) + ", not a shared module");
    if (machine != 62)
      return Fail(RecordStatus::kOtherTarget,
                  "built for ELF machine " + std::to_string(machine) + ", this host is x86-64");
    const std::uint64_t phoff = Load(ehdr + 32, 8), shoff = Load(ehdr + 40, 8);
    const std::uint64_t phentsize = Load(ehdr + 54, 2), phnum = Load(ehdr + 56, 2);
    const std::uint64_t shentsize = Load(ehdr + 58, 2), shnum = Load(ehdr + 60, 2);
    if (phnum == 0 || phnum == 0xffff || phentsize != kPhdrSize)
      return Fail(RecordStatus::kDamaged, "malformed program headers");
    if (shnum != 0 && shentsize != kShdrSize)
      return Fail(RecordStatus::kDamaged, "malformed section headers");
    // Each extent fits in 64 bits: offsets are 64-bit, counts and sizes 16-bit.
    std::uint64_t needed = shnum == 0 ? 0 : shoff + shnum * kShdrSize;
    if (shnum != 0 && needed < shoff)
      return Fail(RecordStatus::kDamaged, "malformed section headers");
    const unsigned char* phdrs = image.Bytes(phoff, phnum * kPhdrSize);
    if (phdrs == nullptr) return Truncated(phoff + phnum * kPhdrSize);
    std::vector<std::pair<std::uint64_t, std::uint64_t>> notes;  // offset, size
    for (std::uint64_t i = 0; i < phnum; ++i) {
      const unsigned char* phdr = phdrs + i * kPhdrSize;
      const std::uint64_t ptype = Load(phdr, 4), offset = Load(phdr + 8, 8),
                          size = Load(phdr + 32, 8);
      if (ptype != kPtLoad && ptype != kPtNote) continue;
      if (offset + size < offset) return Fail(RecordStatus::kDamaged, "malformed program headers");
      if (offset + size > needed) needed = offset + size;
      // 8-aligned note segments hold the linker's properties, never a record.
      if (ptype == kPtNote && Load(phdr + 48, 8) <= 4) notes.emplace_back(offset, size);
    }
    if (needed > image.Size()) return Truncated(needed);
    for (const auto& segment : notes) {
      const RecordStatus status = ReadNotes(segment.first, segment.second);
      if (status != RecordStatus::kRecord) return status;
    }
    return record.present ? RecordStatus::kRecord : RecordStatus::kNoRecord;
  }

  // kRecord when the segment is well-formed (whether or not it holds ours).
  RecordStatus ReadNotes(std::uint64_t offset, std::uint64_t size) {
    if (size > kMaxNotes)
      return Fail(RecordStatus::kDamaged, "a note segment of " + std::to_string(size) + " bytes");
    const unsigned char* notes = image.Bytes(offset, size);
    if (notes == nullptr) return Truncated(offset + size);
    for (std::uint64_t at = 0; at < size;) {
      if (size - at < 12) return Fail(RecordStatus::kDamaged, "a note runs past its segment");
      const unsigned char* note = notes + at;
      const std::uint64_t nameSize = Load(note, 4), descSize = Load(note + 4, 4),
                          type = Load(note + 8, 4);
      const std::uint64_t nameSpace = (nameSize + 3) / 4 * 4, descSpace = (descSize + 3) / 4 * 4;
      if (nameSpace + descSpace > size - at - 12)
        return Fail(RecordStatus::kDamaged, "a note runs past its segment");
      const unsigned char* desc = note + 12 + nameSpace;
      if (nameSize == ktplugin::kNoteOwnerSize && std::memcmp(note + 12, "KtPlugin", 9) == 0) {
        if (type == ktplugin::kRecordNoteType && !TakeRecord(desc, descSize))
          return Fail(RecordStatus::kDamaged, "malformed plug-in record");
        if (type == ktplugin::kInfoNoteType && !TakeInfo(desc, descSize))
          return Fail(RecordStatus::kDamaged, "malformed plug-in name or identifier");
      }
      at += 12 + nameSpace + descSpace;
    }
    return RecordStatus::kRecord;
  }

  // A text of at most `size` bytes that must end with a zero byte in them.
  static bool Text(const unsigned char* at, std::uint64_t size, std::string& out) {
    const void* end = std::memchr(at, 0, static_cast<std::size_t>(size));
    if (end == nullptr) return false;
    out.assign(reinterpret_cast<const char*>(at), static_cast<const unsigned char*>(end) - at);
    return true;
  }

  bool TakeRecord(const unsigned char* desc, std::uint64_t size) {
    if (record.present || size < 24 || Load(desc, 4) == 0) return false;
    record.present = true;
    record.interfaceVersion = static_cast<int>(static_cast<std::int32_t>(Load(desc + 4, 4)));
    return Text(desc + 8, 16, record.ktbaseVersion);
  }

  bool TakeInfo(const unsigned char* desc, std::uint64_t size) {
    if (!record.uid.empty() || size < 41) return false;
    if (!Text(desc, 40, record.uid) || !KtUID::IsUID(record.uid.c_str())) return false;
    char canonical[37];  // upper case, whatever case the plug-in wrote
    KtUID(record.uid.c_str(), true).GetStr(canonical);
    record.uid = canonical;
    return Text(desc + 40, size - 40, record.name);
  }
};

}  // namespace

RecordStatus ReadPluginRecord(const std::string& path, PluginRecord& record, std::string& why) {
  record = PluginRecord();
  why.clear();
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
  if (fd < 0) {
    why = std::string("cannot be opened: ") + std::strerror(errno);
    return RecordStatus::kUnreadable;
  }
  struct stat info {};
  RecordStatus status = RecordStatus::kUnreadable;
  if (fstat(fd, &info) != 0) {
    why = std::string("cannot be read: ") + std::strerror(errno);
  } else if (!S_ISREG(info.st_mode)) {
    status = RecordStatus::kNotModule;
    why = "not a regular file";
  } else {
    Image image(fd, static_cast<std::uint64_t>(info.st_size));
    errno = 0;
    if (!image.ReadHead()) {
      why = std::string("cannot be read: ") + (errno != 0 ? std::strerror(errno) : "short read");
    } else {
      status = Reader{image, record, why}.Read();
    }
  }
  close(fd);
  return status;
}

}  // namespace ktpluginhost
