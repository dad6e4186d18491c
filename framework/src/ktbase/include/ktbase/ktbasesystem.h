// ktbasesystem: the one system object behind qrn::ISystem.
//
// Ownership: the system owns its singletons, every object on its deletion list
// and its debug service; named objects and components are borrowed or belong
// to their callers. Not thread-safe.
//
// Destruction order (deliberate, plug-ins rely on it):
//   1. Term() on every singleton instance, in ascending name order;
//   2. the deletion list, in registration order: through qrn::IDestroy, else
//      one Release() through qrn::IRefCount, else left alone;
//   3. the debug service.
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

class KTBASE_API ktbasesystem : public qrn::ISystem, public qrn::IBase {
 public:
  typedef qrn::IBase* (*Factory)();
  typedef void (*StartupFactory)();

  // Records the flag and argv[0..argc-1] (nothing when argc < 1); argv
  // entries in that range must not be null.
  ktbasesystem(bool isDCCPlugin, int argc, char** argv);
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

  // "Norvex.KTC.BaseSystem".
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
