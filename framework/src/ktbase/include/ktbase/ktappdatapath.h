// CKTAppDataPath: a per-application data folder below the system temporary
// directory (for every kind: the kind is accepted and ignored, deliberately).
#ifndef KTBASE_KTAPPDATAPATH_H
#define KTBASE_KTAPPDATAPATH_H

#include <ktbase/ktbase_export.h>

#include <string>

class KTBASE_API CKTAppDataPath {
 public:
  enum EKTAppDataPath {
    eAppDataUser = 0,
    eAppDataCommon = 1,
    eAppDataLocal = 2,
  };

  // Calls Set(). Throws boost::filesystem::filesystem_error when the
  // temporary directory cannot be determined.
  CKTAppDataPath(const std::string& subPath, EKTAppDataPath kind);
  ~CKTAppDataPath();

  // path := temporary directory / subPath. Throws
  // boost::filesystem::filesystem_error when the temporary directory cannot
  // be determined (the path is then empty).
  CKTAppDataPath& Set(const std::string& subPath, EKTAppDataPath kind);
  // out := boost::filesystem::temp_directory_path() ("TMPDIR", "TMP", "TEMP",
  // "TEMPDIR", else /tmp). Returns true. Throws
  // boost::filesystem::filesystem_error when that directory is unusable.
  bool GetAppData(std::string& out, EKTAppDataPath kind);
  // Makes sure path/subPath exists; true when it is a directory afterwards.
  // Throws boost::filesystem::filesystem_error when its status cannot be
  // read for another reason than a missing entry.
  bool MakeDirs(const std::string& subPath);
  const std::string& string();

 private:
  std::string m_path;
};

#endif  // KTBASE_KTAPPDATAPATH_H
