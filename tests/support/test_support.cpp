#include "test_support.h"

#include <boost/filesystem.hpp>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace fs = boost::filesystem;

namespace kttest {

ScopedEnv::ScopedEnv(std::string name, std::optional<std::string> value) : m_name(std::move(name)) {
  if (const char* old = std::getenv(m_name.c_str())) m_previous = old;
  if (value)
    ::setenv(m_name.c_str(), value->c_str(), 1);
  else
    ::unsetenv(m_name.c_str());
}

ScopedEnv::~ScopedEnv() {
  if (m_previous)
    ::setenv(m_name.c_str(), m_previous->c_str(), 1);
  else
    ::unsetenv(m_name.c_str());
}

LogCapture::LogCapture() {
  m_previous = Log::SetSink([this](int level, const std::string& text) {
    m_records.push_back(LogRecord{level, text});
  });
}

LogCapture::~LogCapture() { Log::SetSink(std::move(m_previous)); }

namespace {

// Owner-write on everything below `root`, so a tree with read-only parts can
// be removed by a non-root user too.
void makeTreeWritable(const fs::path& root) {
  boost::system::error_code ec;
  fs::recursive_directory_iterator it(root, ec), end;
  for (; !ec && it != end; it.increment(ec)) {
    if (fs::is_symlink(it->symlink_status(ec))) continue;
    fs::permissions(it->path(), fs::add_perms | fs::owner_all, ec);
  }
}

}  // namespace

void TempDirTest::SetUp() {
  const char* base = std::getenv("TMPDIR");
  fs::path root = (base != nullptr && *base != '\0') ? fs::path(base) : fs::path("/tmp");
  fs::path dir = root / fs::unique_path("ktbase-test-%%%%-%%%%-%%%%");
  fs::create_directories(dir / "tmp");
  m_dir = dir.string();
  m_tmpdir.emplace("TMPDIR", (dir / "tmp").string());
}

void TempDirTest::TearDown() {
  m_tmpdir.reset();
  makeTreeWritable(m_dir);
  boost::system::error_code ec;
  fs::remove_all(m_dir, ec);
}

std::string TempDirTest::path(const std::string& relative) const {
  return (fs::path(m_dir) / relative).string();
}

std::string TempDirTest::writeFile(const std::string& relative, const std::string& content) const {
  fs::path p = fs::path(m_dir) / relative;
  fs::create_directories(p.parent_path());
  std::ofstream out(p.string(), std::ios::binary | std::ios::trunc);
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
  return p.string();
}

std::optional<std::string> TempDirTest::readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::map<std::string, std::string> Snapshot(const std::string& root) {
  struct Reader : TempDirTest {
    using TempDirTest::readFile;
  };
  // Walked by hand, each entry's status asked of the path: Boost 1.83's
  // iterators and entries also ask a link's target for its status, and throw
  // on a link loop.
  std::map<std::string, std::string> entries;
  for (fs::directory_iterator it(root), end; it != end; ++it) {
    const fs::file_status status = fs::symlink_status(it->path());
    const std::string name = it->path().string();
    if (fs::is_directory(status)) {
      entries[name] = "folder";
      entries.merge(Snapshot(name));
    } else {
      entries[name] = fs::is_symlink(status) ? "link:" + fs::read_symlink(it->path()).string()
                                             : "file:" + Reader::readFile(name).value_or("");
    }
  }
  return entries;
}

}  // namespace kttest
