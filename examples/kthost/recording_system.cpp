#include "recording_system.h"

namespace kthost {

namespace {
std::string NameOf(const char* name) { return name != nullptr ? name : "(null name)"; }
}  // namespace

void RecordingSystem::Record(const char* kind, const std::string& name) {
  m_records.push_back({m_owner, kind, name});
}

const char* RecordingSystem::GetClsName() {
  auto* base = dynamic_cast<qrn::IBase*>(&m_system);
  return base != nullptr ? base->GetClsName() : "KtHost.RecordingSystem";
}

qrn::diagnostics::IDebug* RecordingSystem::Debug() { return m_system.Debug(); }

void RecordingSystem::RunStartupFactories() { m_system.RunStartupFactories(); }

void RecordingSystem::RegisterObjectForDeletion(qrn::IBase* object) {
  if (object != nullptr) Record("owned by system", NameOf(object->GetClsName()));
  m_system.RegisterObjectForDeletion(object);
}

void RecordingSystem::RegisterSingleton(const char* name, qrn::IBase* (*factory)()) {
  Record("singleton", NameOf(name));
  m_system.RegisterSingleton(name, factory);
}

qrn::IBase* RecordingSystem::GetSingleton(const char* name) { return m_system.GetSingleton(name); }

void RecordingSystem::SetNamedObject(const char* name, qrn::IBase* object) {
  Record("named object", NameOf(name) + (object != nullptr && object->GetClsName() != nullptr
                                             ? std::string(" (") + object->GetClsName() + ")"
                                             : std::string()));
  m_system.SetNamedObject(name, object);
}

void RecordingSystem::RemoveNamedObject(const char* name) {
  Record("removed name", NameOf(name));
  m_system.RemoveNamedObject(name);
}

qrn::IBase* RecordingSystem::GetNamedObject(const char* name) {
  return m_system.GetNamedObject(name);
}

void RecordingSystem::RegisterComponent(const char* name, qrn::IBase* (*factory)()) {
  Record("component", NameOf(name));
  m_system.RegisterComponent(name, factory);
}

qrn::IBase* RecordingSystem::CreateComponent(const char* name) {
  return m_system.CreateComponent(name);
}

void RecordingSystem::RegisterStartupFactory(void (*factory)()) {
  Record("startup factory", "#" + std::to_string(++m_startupFactories));
  m_system.RegisterStartupFactory(factory);
}

bool RecordingSystem::IsDCCPlugin() const { return m_system.IsDCCPlugin(); }

void RecordingSystem::GetApplicationArguments(std::vector<std::string>& out) const {
  m_system.GetApplicationArguments(out);
}

std::string RecordingSystem::GetPackageRoot() { return m_system.GetPackageRoot(); }

std::string RecordingSystem::GetToolPath(const std::string& subDir, const std::string& toolName) {
  return m_system.GetToolPath(subDir, toolName);
}

}  // namespace kthost
