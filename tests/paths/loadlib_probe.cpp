// ktfault_probe <liblogmanager.so> <library>: loads the logger, then the
// library by the path given, and prints the installation directories that the
// library reports ("bin=", "root=", "db=" lines). Exit status 1 when a load
// or a lookup fails. It does not link the library: the copy it loads is the
// only one in the process.
#include <dlfcn.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  // The copy's folder may not hold the logger: load it first, so the copy's
  // need for it is met by the one already loaded.
  void* library = nullptr;
  if (dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL) == nullptr ||
      (library = dlopen(argv[2], RTLD_NOW)) == nullptr) {
    std::printf("load failed: %s\n", dlerror());
    return 1;
  }
  using DirFunc = std::string (*)();
  const char* const symbols[][2] = {{"bin", "_Z11KTGetBinDirB5cxx11v"},
                                    {"root", "_Z12KTGetRootDirB5cxx11v"},
                                    {"db", "_Z10KTGetDBDirB5cxx11v"}};
  for (const auto& symbol : symbols) {
    auto func = reinterpret_cast<DirFunc>(dlsym(library, symbol[1]));
    if (func == nullptr) {
      std::printf("missing %s\n", symbol[1]);
      return 1;
    }
    std::printf("%s=%s\n", symbol[0], func().c_str());
  }
  return 0;
}
