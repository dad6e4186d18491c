/// @file
/// ktbasesystem, the one system object behind qrn::ISystem.
/// @ingroup system
#ifndef KTBASE_KTBASESYSTEM_H
#define KTBASE_KTBASESYSTEM_H

#include <ktbase/ibase.h>
#include <ktbase/isystem.h>
#include <ktbase/ktbase_export.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

class ktdebug;

/// The one system object behind qrn::ISystem, made by qrnInitSystem().
/// Hosts and plug-ins use it through qrn::ISystem and the entry points of
/// ktbase.h.
///
/// Ownership: the system owns its singletons, every object on its deletion
/// list and its debug service; named objects and components are borrowed or
/// belong to their callers.
///
/// Destruction order (deliberate, plug-ins rely on it):
///   1. Term() on every singleton instance, in ascending name order;
///   2. the deletion list, in registration order: through qrn::IDestroy, else
///      one Release() through qrn::IRefCount, else left alone;
///   3. the debug service.
/// @onethread
/// @ingroup system
class KTBASE_API ktbasesystem : public qrn::ISystem, public qrn::IBase {
 public:
  /// Makes a singleton or a component.
  typedef qrn::IBase* (*Factory)();
  /// A function run by RunStartupFactories().
  typedef void (*StartupFactory)();

  /// Records the flag and the arguments; runs nothing else.
  /// @param isDCCPlugin See qrnInitSystem().
  /// @param argc Number of arguments; nothing is read when it is below 1.
  /// @param argv The arguments (copied); argv[0..argc-1] must not be null.
  /// @throws std::bad_alloc
  ktbasesystem(bool isDCCPlugin, int argc, char** argv);
  /// Ends the system in the order given above.
  ~ktbasesystem() override;

  ktbasesystem(const ktbasesystem&) = delete;
  ktbasesystem& operator=(const ktbasesystem&) = delete;

  qrn::diagnostics::IDebug* Debug() override;
  void RunStartupFactories() override;
  void RegisterObjectForDeletion(qrn::IBase* object) override;
  void RegisterSingleton(const char* name, Factory factory) override;
  qrn::IBase* GetSingleton(const char* name) override;
  void SetNamedObject(const char* name, qrn::IBase* object) override;
  void RemoveNamedObject(const char* name) override;
  qrn::IBase* GetNamedObject(const char* name) override;
  void RegisterComponent(const char* name, Factory factory) override;
  qrn::IBase* CreateComponent(const char* name) override;
  void RegisterStartupFactory(StartupFactory factory) override;
  bool IsDCCPlugin() const override;
  void GetApplicationArguments(std::vector<std::string>& out) const override;
  std::string GetPackageRoot() override;
  std::string GetToolPath(const std::string& subDir, const std::string& toolName) override;

  /// @return "Norvex.KTC.BaseSystem".
  const char* GetClsName() override;

 private:
  bool m_isDCCPlugin;
  ktdebug* m_debug;
  // Recorded, never read: it stays for the class's layout, which plug-ins
  // compiled against this header rely on.
  [[maybe_unused]] int m_argc;
  std::vector<std::string> m_arguments;
  std::vector<qrn::IBase*> m_deletionList;
  // std::less<> lets a lookup take the caller's name as a std::string_view,
  // without building a key string; the order is the same byte-wise order.
  std::map<std::string, Factory, std::less<>> m_singletonFactories;
  std::map<std::string, Factory, std::less<>> m_componentFactories;
  std::map<std::string, qrn::IBase*, std::less<>> m_singletons;
  std::map<std::string, qrn::IBase*, std::less<>> m_namedObjects;
  std::vector<StartupFactory> m_startupFactories;
};

#endif  // KTBASE_KTBASESYSTEM_H
