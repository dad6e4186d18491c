// The per-application data folder, always below the temporary directory.
#include <ktbase/ktappdatapath.h>

#include <boost/filesystem.hpp>
#include <boost/system/error_code.hpp>

namespace fs = boost::filesystem;

namespace {
fs::path Join(const std::string& base, const std::string& subPath) {
  fs::path result(base);
  if (!subPath.empty()) {
    result /= subPath;
  }
  return result;
}
}  // namespace

CKTAppDataPath::CKTAppDataPath(const std::string& subPath, EKTAppDataPath kind) {
  Set(subPath, kind);
}

CKTAppDataPath::~CKTAppDataPath() = default;

CKTAppDataPath& CKTAppDataPath::Set(const std::string& subPath, EKTAppDataPath kind) {
  m_path.clear();
  std::string base;
  if (GetAppData(base, kind)) {  // throws before m_path is set
    m_path = Join(base, subPath).string();
  }
  return *this;
}

bool CKTAppDataPath::GetAppData(std::string& out, EKTAppDataPath /*kind*/) {
  // Every kind maps to the temporary directory, deliberately.
  out.clear();
  out = fs::temp_directory_path().string();
  return true;
}

bool CKTAppDataPath::MakeDirs(const std::string& subPath) {
  const fs::path dir = Join(m_path, subPath);
  const fs::file_type type = fs::status(dir).type();  // throws on e.g. EACCES
  if (type == fs::file_not_found || type == fs::status_error) {
    boost::system::error_code ec;
    return fs::create_directories(dir, ec);
  }
  boost::system::error_code ec;
  return fs::status(dir, ec).type() == fs::directory_file;
}

const std::string& CKTAppDataPath::string() { return m_path; }
