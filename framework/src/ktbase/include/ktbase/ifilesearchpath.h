/// @file
/// qrn::fwk::IFileSearchPath, a list of folders searched by file extension.
///
/// Slots are append-only.
/// @ingroup paths
#ifndef KTBASE_IFILESEARCHPATH_H
#define KTBASE_IFILESEARCHPATH_H

#include <ktbase/ktbase_export.h>

#include <string>
#include <vector>

namespace qrn {
namespace fwk {

/// A list of folders searched for files by extension. KTSearchPath
/// implements it.
/// @onethread
/// @ingroup paths
class KTBASE_API IFileSearchPath {
 public:
  virtual ~IFileSearchPath();
  /// Adds a folder to the list.
  /// @param path The folder (copied).
  /// @param recursive True to add every folder below it as well.
  virtual void Add(const char* path, bool recursive) = 0;
  /// Finds the files of one extension in the listed folders.
  /// @param found Receives the paths found (appended).
  /// @param extension The extension, dot included, e.g. ".so".
  /// @return True when the search ran.
  virtual bool FindByExtension(std::vector<std::string>& found, const char* extension) = 0;
};

}  // namespace fwk
}  // namespace qrn

#endif  // KTBASE_IFILESEARCHPATH_H
