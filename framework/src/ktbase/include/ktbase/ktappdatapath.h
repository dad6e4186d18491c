/// @file
/// CKTAppDataPath, a per-application data folder below the system temporary
/// directory.
/// @ingroup paths
#ifndef KTBASE_KTAPPDATAPATH_H
#define KTBASE_KTAPPDATAPATH_H

#include <ktbase/ktbase_export.h>

#include <string>

/// A per-application data folder below the system temporary directory, for
/// every kind: the kind is accepted and ignored, deliberately. The
/// preference manager keeps "user.prefs" in `<tmp>/Norvex/Tessel`.
/// @onethread
/// @ingroup paths
class KTBASE_API CKTAppDataPath {
 public:
  /// Kinds of data folder; all name the same folder.
  enum EKTAppDataPath {
    eAppDataUser = 0,    ///< Per-user data.
    eAppDataCommon = 1,  ///< Data shared by every user.
    eAppDataLocal = 2,   ///< Data of this machine only.
  };

  /// Calls Set().
  /// @param subPath Folder below the temporary directory; "" for none.
  /// @param kind Ignored.
  /// @throws boost::filesystem::filesystem_error when the temporary
  ///   directory cannot be determined.
  CKTAppDataPath(const std::string& subPath, EKTAppDataPath kind);
  ~CKTAppDataPath();

  /// Sets the path to the temporary directory / `subPath`. Creates nothing.
  /// @param subPath Folder below the temporary directory; "" for none.
  /// @param kind Ignored.
  /// @return This object.
  /// @throws boost::filesystem::filesystem_error when the temporary
  ///   directory cannot be determined (the path is then empty).
  CKTAppDataPath& Set(const std::string& subPath, EKTAppDataPath kind);
  /// The base of every data folder: boost::filesystem::temp_directory_path()
  /// ("TMPDIR", "TMP", "TEMP", "TEMPDIR", else /tmp).
  /// @param out Replaced with the folder.
  /// @param kind Ignored.
  /// @return True.
  /// @throws boost::filesystem::filesystem_error when that folder is
  ///   unusable (missing, or not a folder); `out` is then empty.
  bool GetAppData(std::string& out, EKTAppDataPath kind);
  /// Makes sure path/subPath exists, creating missing folders.
  /// @param subPath Folder below the path; "" for the path itself.
  /// @return True when it is a folder afterwards; false when it cannot be
  ///   created or is something else.
  /// @throws boost::filesystem::filesystem_error when its status cannot be
  ///   read for another reason than a missing entry.
  bool MakeDirs(const std::string& subPath);
  /// @return The path (no trailing separator); empty before a successful
  ///   Set(). Valid while the object lives and Set() is not called.
  const std::string& string();

 private:
  std::string m_path;
};

#endif  // KTBASE_KTAPPDATAPATH_H
