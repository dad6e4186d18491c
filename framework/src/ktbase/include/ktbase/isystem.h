/// @file
/// qrn::ISystem, the process-wide system object, as plug-ins see it.
///
/// Slots are append-only: plug-ins compiled against an earlier build call these
/// by position. Never insert, remove or reorder an operation.
/// @ingroup system
#ifndef KTBASE_ISYSTEM_H
#define KTBASE_ISYSTEM_H

#include <ktbase/ibase.h>
#include <ktbase/idebug.h>
#include <ktbase/ktbase_export.h>

#include <string>
#include <vector>

namespace qrn {

/// The process-wide system object, as plug-ins see it: registries of
/// singletons, components and named objects, the deletion list, startup
/// factories and the debug service. Made by qrnInitSystem(), ended by
/// qrnExitSystem(); ktbasesystem implements it.
///
/// Names passed as `const char*` are copied. A null name is treated as a name
/// that is never found: lookups return null and registrations store nothing.
/// Names are compared byte by byte, case-sensitively. Nothing here throws
/// but std::bad_alloc, and what a factory, Init() or Term() throws.
/// @onethread
/// @ingroup system
class KTBASE_API ISystem {
 public:
  virtual ~ISystem();

  /// The debug service, created on first call.
  /// @return Never null; owned by the system, valid until qrnExitSystem().
  virtual diagnostics::IDebug* Debug() = 0;
  /// Calls every pending startup factory once, in registration order,
  /// including those registered by a factory while the pass runs, then
  /// forgets them. The system never calls this by itself: the host does,
  /// when its plug-ins are loaded.
  virtual void RunStartupFactories() = 0;
  /// Hands ownership of an object to the system. At shutdown it is destroyed
  /// through qrn::IDestroy, else released once through qrn::IRefCount, else
  /// left alone, in registration order. Registering twice destroys twice.
  /// @param object The object; null is ignored.
  virtual void RegisterObjectForDeletion(IBase* object) = 0;
  /// Registers (or replaces) the factory of a singleton. Replacing calls
  /// Term() on a live instance and forgets it; it is still destroyed at
  /// shutdown.
  /// @param name The singleton's name.
  /// @param factory Makes the instance on the first GetSingleton(); its
  ///   result belongs to the system. Null counts as a factory that makes
  ///   nothing.
  virtual void RegisterSingleton(const char* name, IBase* (*factory)()) = 0;
  /// The singleton of a name, created on first use: the system then owns
  /// it (deletion list) and calls its qrn::ISingleton::Init().
  /// @param name The singleton's name.
  /// @return Borrowed, valid until shutdown or re-registration; null for an
  ///   unknown name or a factory that returned null.
  virtual IBase* GetSingleton(const char* name) = 0;
  /// Publishes an object under a name, replacing any other.
  /// @param name The name.
  /// @param object Borrowed: the system never destroys named objects; remove
  ///   it before it dies. May be null.
  virtual void SetNamedObject(const char* name, IBase* object) = 0;
  /// Forgets a named object; the object itself is left alone.
  /// @param name The name; an unknown name does nothing.
  virtual void RemoveNamedObject(const char* name) = 0;
  /// A named object.
  /// @param name The name.
  /// @return Borrowed from whoever published it; null for an unknown name.
  virtual IBase* GetNamedObject(const char* name) = 0;
  /// Registers (or replaces) the factory of a component.
  /// @param name The component's name.
  /// @param factory Makes a new object on each CreateComponent(); null makes
  ///   nothing.
  virtual void RegisterComponent(const char* name, IBase* (*factory)()) = 0;
  /// A new component.
  /// @param name The component's name.
  /// @return A new object the caller owns (the system keeps no pointer and
  ///   calls no Init()), or null for an unknown name or a null factory.
  virtual IBase* CreateComponent(const char* name) = 0;
  /// Adds a function for the next RunStartupFactories().
  /// @param factory The function; a null one is skipped when the pass runs.
  virtual void RegisterStartupFactory(void (*factory)()) = 0;
  /// @return The flag given to qrnInitSystem(): true when the framework runs
  ///   as a plug-in of a content-creation application.
  virtual bool IsDCCPlugin() const = 0;
  /// The arguments given to qrnInitSystem().
  /// @param out Replaced with the arguments, argv[0] first.
  virtual void GetApplicationArguments(std::vector<std::string>& out) const = 0;
  /// The package root: the first argument with four components removed.
  /// @return The path; "" without arguments.
  virtual std::string GetPackageRoot() = 0;
  /// The path of a tool: root/subDir/linux_intel.release/toolName, whether
  /// it exists or not (a missing tool is logged at level 2).
  /// @param subDir The folder below the package root.
  /// @param toolName The tool's file name.
  /// @return The path.
  /// @throws boost::filesystem::filesystem_error when a status query fails
  ///   for another reason than a missing file.
  virtual std::string GetToolPath(const std::string& subDir, const std::string& toolName) = 0;
};

}  // namespace qrn

#endif  // KTBASE_ISYSTEM_H
