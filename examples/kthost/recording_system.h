// A view of the system that forwards every call to the real one and records
// what is registered through it, by whom. The host hands this view to each
// plug-in's entry so that its report can list the registrations (the system
// itself offers no way to enumerate its registries).
//
// Calls a plug-in makes through qrnGetSystem() reach the real system directly
// and are not recorded. The view must outlive every plug-in that keeps it,
// i.e. the system: the host destroys it after qrnExitSystem().
#ifndef KTBASE_EXAMPLES_KTHOST_RECORDING_SYSTEM_H
#define KTBASE_EXAMPLES_KTHOST_RECORDING_SYSTEM_H

#include <ktbase/ibase.h>
#include <ktbase/isystem.h>

#include <string>
#include <vector>

namespace kthost {

struct Registration {
  std::string owner;  // who was current when it was registered
  std::string kind;   // "singleton", "component", "named object", ...
  std::string name;   // the registered name, or a description
};

class RecordingSystem final : public qrn::ISystem, public qrn::IBase {
 public:
  explicit RecordingSystem(qrn::ISystem& system) : m_system(system) {}

  // Registrations made from now on are recorded under `owner`.
  void SetOwner(const std::string& owner) { m_owner = owner; }
  const std::vector<Registration>& Registrations() const { return m_records; }

  // The real system's class name.
  const char* GetClsName() override;

  qrn::diagnostics::IDebug* Debug() override;
  void RunStartupFactories() override;
  void RegisterObjectForDeletion(qrn::IBase* object) override;
  void RegisterSingleton(const char* name, qrn::IBase* (*factory)()) override;
  qrn::IBase* GetSingleton(const char* name) override;
  void SetNamedObject(const char* name, qrn::IBase* object) override;
  void RemoveNamedObject(const char* name) override;
  qrn::IBase* GetNamedObject(const char* name) override;
  void RegisterComponent(const char* name, qrn::IBase* (*factory)()) override;
  qrn::IBase* CreateComponent(const char* name) override;
  void RegisterStartupFactory(void (*factory)()) override;
  bool IsDCCPlugin() const override;
  void GetApplicationArguments(std::vector<std::string>& out) const override;
  std::string GetPackageRoot() override;
  std::string GetToolPath(const std::string& subDir, const std::string& toolName) override;

 private:
  void Record(const char* kind, const std::string& name);

  qrn::ISystem& m_system;
  std::string m_owner = "host";
  std::vector<Registration> m_records;
  int m_startupFactories = 0;
};

}  // namespace kthost

#endif  // KTBASE_EXAMPLES_KTHOST_RECORDING_SYSTEM_H
