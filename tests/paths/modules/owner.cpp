// A module that defines its own symbol, links a library defining another,
// and hands out an object seen through the framework's interfaces.
#include <ktbase/ibase.h>
#include <ktbase/isingleton.h>

extern "C" int kttest_dep_symbol();

namespace {
class Service : public qrn::IBase, public qrn::ISingleton {
 public:
  const char* GetClsName() override { return "Test.Service"; }
  void Init() override {}
  void Term() override {}
};
}  // namespace

extern "C" __attribute__((visibility("default"))) int kttest_owner_symbol() {
  return kttest_dep_symbol() + 1;
}

extern "C" __attribute__((visibility("default"))) qrn::IBase* kttest_create_service() {
  return new Service;
}
