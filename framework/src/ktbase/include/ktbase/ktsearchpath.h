/// @file
/// KTSearchPath, folders searched for files by extension.
/// @ingroup paths
#ifndef KTBASE_KTSEARCHPATH_H
#define KTBASE_KTSEARCHPATH_H

#include <ktbase/ibase.h>
#include <ktbase/idestroy.h>
#include <ktbase/ifilesearchpath.h>
#include <ktbase/ktbase_export.h>

#include <string>
#include <vector>

/// Folders searched for files by extension; a host collects its plug-ins
/// with one. Paths are kept as given.
/// @onethread
/// @ingroup paths
class KTBASE_API KTSearchPath : public qrn::fwk::IFileSearchPath,
                                public qrn::IBase,
                                public qrn::IDestroy {
 public:
  /// An empty list.
  KTSearchPath();
  ~KTSearchPath() override;

  /// Adds `path` when it is a folder, else the folder that holds it (whether
  /// or not the named entry exists); adds nothing when that folder is
  /// missing. Duplicates are kept.
  /// @param path The folder (copied); null adds nothing.
  /// @param recursive True to add every sub-folder too, depth first, through
  ///   this virtual operation.
  /// @throws boost::filesystem::filesystem_error when a status or listing
  ///   fails, e.g. on a symbolic-link loop; what was added before stays.
  void Add(const char* path, bool recursive) override;
  /// Appends (never clears) the non-folder entries directly inside each
  /// listed folder whose extension, dot included, equals `extension`
  /// exactly, folder by folder in the order added.
  /// @param found Receives the paths (appended).
  /// @param extension E.g. ".so"; null finds nothing.
  /// @return True.
  /// @throws boost::filesystem::filesystem_error when a listed folder cannot
  ///   be read; what was appended before stays.
  bool FindByExtension(std::vector<std::string>& found, const char* extension) override;
  /// @return "System.IO.SearchPath".
  const char* GetClsName() override;

 private:
  std::vector<std::string> m_paths;
};

#endif  // KTBASE_KTSEARCHPATH_H
