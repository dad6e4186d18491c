// Loader helpers that moduleutils.cpp offers to the rest of the library; not
// exported. Every dlfcn.h/link.h call of the library stays in moduleutils.cpp,
// so this header names the loader's types only by declaration.
#ifndef KTBASE_MODULEUTILS_INTERNAL_H
#define KTBASE_MODULEUTILS_INTERNAL_H

#include <cstddef>
#include <string>

struct dl_phdr_info;

namespace ModuleUtils {
namespace detail {

// Record handed through dl_iterate_phdr to callback().
struct CbParams {
  std::string* result;   // where the match goes; owned by the walk's caller
  std::string fragment;  // text to find anywhere in a loaded object's path
};

// dl_iterate_phdr callback: when info's path contains params->fragment,
// copies the whole path into *params->result and returns 1 (ends the walk);
// otherwise 0. Runs under the loader's lock: it only copies a string.
int callback(dl_phdr_info* info, std::size_t size, void* data);

// Path of the first loaded object (in the loader's order: main program first)
// whose path contains `fragment`; "" when none does.
std::string FindLoadedObject(const std::string& fragment);

}  // namespace detail
}  // namespace ModuleUtils

#endif  // KTBASE_MODULEUTILS_INTERNAL_H
