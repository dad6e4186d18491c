/// @file
/// Temporary files and folders, and removal helpers.
/// @ingroup paths
#ifndef KTBASE_KTTEMPFILE_H
#define KTBASE_KTTEMPFILE_H

#include <ktbase/ktbase_export.h>

#include <string>

/// A temporary file named after a target: target + ".tmp".
/// @onethread
/// @ingroup paths
class KTBASE_API CKTTempFile {
 public:
  /// No path yet.
  /// @param deleteOnDestroy True to Delete() the file in the destructor.
  explicit CKTTempFile(bool deleteOnDestroy);
  /// Delete() when constructed with deleteOnDestroy. Never throws.
  ~CKTTempFile();

  /// Removes the previous file, sets the path to target + ".tmp", and
  /// creates it empty. Never throws.
  /// @param target The file the temporary one is named after.
  /// @return True when the file was created; false when the *target* exists
  ///   and is readable (nothing is created, the path stays set) or the file
  ///   cannot be created.
  bool SetPath(const std::string& target);
  /// Removes the file at the path (the path is kept, so a second call is
  /// harmless).
  void Delete();
  /// A placeholder: reads and writes nothing.
  /// @param source Ignored.
  /// @return False.
  bool CopyFrom(const std::string& source);
  /// @return The path; empty before SetPath(). Valid while the object lives
  ///   and SetPath() is not called.
  const std::string& string();

 private:
  bool m_deleteOnDestroy;
  std::string m_path;
};

/// Deliberately names no folder: its path is always empty. Kept for callers
/// built against it; do not rely on it for a usable folder.
/// @onethread
/// @ingroup paths
class KTBASE_API CKTTempDir {
 public:
  /// The empty path.
  CKTTempDir();
  /// Removes nothing: there is no folder. Never throws.
  ~CKTTempDir();
  /// @return The path: always empty.
  const std::string& string();

 private:
  std::string m_path;
};

/// Removes a file (or an empty folder), adding the owner's write bit first.
/// "Nothing there" is what access() says, and it follows links: a dangling
/// symbolic link is left in place, and the result is true. Never throws.
/// @param path The file.
/// @return True when nothing was there or the removal succeeded; false when
///   it failed (a folder that is not empty, for instance).
/// @onethread
/// @ingroup paths
KTBASE_API bool KTRemoveFile(const std::string& path);
/// Removes a folder tree, read-only files included. Symbolic links are not
/// followed:
/// - `path` itself a link to a folder: only the link is removed (true);
///   nothing below its target is deleted or changes permissions;
/// - a link to a folder inside the tree: the link is removed, the linked
///   folder's contents are left alone;
/// - a link to a file inside the tree: the link is removed, and its target
///   gains the owner's write bit (deliberate: files are made writable before
///   removal, and that follows links).
/// @param path The folder.
/// @return True when nothing is at `path` afterwards.
/// @throws boost::filesystem::filesystem_error when `path` cannot be listed
///   (missing, not a folder, no permission), a status cannot be read or a
///   removal fails; what was removed before stays removed.
/// @onethread
/// @ingroup paths
KTBASE_API bool KTRecursiveDelete(const std::string& path);
/// Adds the owner's write bit (0200) when it is clear; follows links.
/// @param path The file or folder.
/// @throws boost::filesystem::filesystem_error when the status cannot be
///   read or the permissions cannot be changed.
/// @onethread
/// @ingroup paths
KTBASE_API void KTMakeWritable(const std::string& path);

#endif  // KTBASE_KTTEMPFILE_H
