// qrn::ISystem: the process-wide system object, as plug-ins see it.
//
// Slots are append-only: plug-ins compiled against an earlier build call these
// by position. Never insert, remove or reorder an operation.
//
// Names passed as `const char*` are copied. A null name is treated as a name
// that is never found: lookups return null and registrations store nothing.
#ifndef KTBASE_ISYSTEM_H
#define KTBASE_ISYSTEM_H

#include <ktbase/ibase.h>
#include <ktbase/idebug.h>
#include <ktbase/ktbase_export.h>

#include <string>
#include <vector>

namespace qrn {

class KTBASE_API ISystem {
 public:
  virtual ~ISystem();

  // The debug service, created on first call and owned by the system.
  virtual diagnostics::IDebug* Debug() = 0;
  // Calls every pending startup factory once, including those registered by
  // a factory while the pass runs, then forgets them.
  virtual void RunStartupFactories() = 0;
  // Hands ownership of `object` to the system (null is ignored). At shutdown
  // it is destroyed through qrn::IDestroy, else released once through
  // qrn::IRefCount, else left alone. Registering twice destroys twice.
  virtual void RegisterObjectForDeletion(IBase* object) = 0;
  // Registers (or replaces, calling Term() on a live instance) a singleton.
  virtual void RegisterSingleton(const char* name, IBase* (*factory)()) = 0;
  // The singleton of `name`, created (and Init()ed) on first use; null for
  // an unknown name or a factory that returned null.
  virtual IBase* GetSingleton(const char* name) = 0;
  // Borrowed pointers: the system never destroys named objects.
  virtual void SetNamedObject(const char* name, IBase* object) = 0;
  virtual void RemoveNamedObject(const char* name) = 0;
  virtual IBase* GetNamedObject(const char* name) = 0;
  virtual void RegisterComponent(const char* name, IBase* (*factory)()) = 0;
  // A new object the caller owns, or null for an unknown name.
  virtual IBase* CreateComponent(const char* name) = 0;
  virtual void RegisterStartupFactory(void (*factory)()) = 0;
  virtual bool IsDCCPlugin() const = 0;
  // Replaces `out` with the arguments given to qrnInitSystem, argv[0] first.
  virtual void GetApplicationArguments(std::vector<std::string>& out) const = 0;
  // The first argument with four components removed; "" without arguments.
  virtual std::string GetPackageRoot() = 0;
  // root/subDir/linux_intel.release/toolName, whether it exists or not (a
  // missing tool is logged at level 2). Throws
  // boost::filesystem::filesystem_error when a status query fails for another
  // reason than a missing file.
  virtual std::string GetToolPath(const std::string& subDir, const std::string& toolName) = 0;
};

}  // namespace qrn

#endif  // KTBASE_ISYSTEM_H
