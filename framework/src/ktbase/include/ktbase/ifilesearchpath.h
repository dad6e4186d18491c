// qrn::fwk::IFileSearchPath: a list of folders searched by file extension.
//
// Slots are append-only.
#ifndef KTBASE_IFILESEARCHPATH_H
#define KTBASE_IFILESEARCHPATH_H

#include <ktbase/ktbase_export.h>

#include <string>
#include <vector>

namespace qrn {
namespace fwk {

class KTBASE_API IFileSearchPath {
 public:
  virtual ~IFileSearchPath();
  virtual void Add(const char* path, bool recursive) = 0;
  virtual bool FindByExtension(std::vector<std::string>& found, const char* extension) = 0;
};

}  // namespace fwk
}  // namespace qrn

#endif  // KTBASE_IFILESEARCHPATH_H
