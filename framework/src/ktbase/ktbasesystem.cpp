// The system object: registries, deletion list, startup factories, debug
// service, and the package/tool lookup.
#include <ktbase/idestroy.h>
#include <ktbase/irefcount.h>
#include <ktbase/isingleton.h>
#include <ktbase/ktbasesystem.h>
#include <ktbase/ktdebug.h>
#include <logmanager/log.h>

#include <boost/filesystem.hpp>
#include <string_view>
#include <utility>

namespace fs = boost::filesystem;

ktbasesystem::ktbasesystem(bool isDCCPlugin, int argc, char** argv)
    : m_isDCCPlugin(isDCCPlugin), m_debug(nullptr), m_argc(argc) {
  // Nothing else happens here: no startup factory runs, no debug service is
  // made. argv is not read at all when argc < 1.
  for (int index = 0; index < argc; ++index) m_arguments.emplace_back(argv[index]);
}

ktbasesystem::~ktbasesystem() {
  // 1. Term() in ascending name order. The walk resumes after the current key
  // rather than holding an iterator, so a Term() that uses the registries
  // cannot invalidate it.
  for (auto it = m_singletons.begin(); it != m_singletons.end();) {
    const std::string name = it->first;
    if (it->second != nullptr) {
      if (auto* singleton = dynamic_cast<qrn::ISingleton*>(it->second)) singleton->Term();
    }
    it = m_singletons.upper_bound(name);
  }
  // 2. Forget the instances; they die through the deletion list.
  m_singletons.clear();

  // 3. Deletion list in registration order. The size is re-read and each
  // entry is taken before it is destroyed, so a destructor may register more.
  for (std::size_t index = 0; index < m_deletionList.size(); ++index) {
    qrn::IBase* object = m_deletionList[index];
    m_deletionList[index] = nullptr;
    if (object == nullptr) continue;
    if (auto* destroyable = dynamic_cast<qrn::IDestroy*>(object)) {
      delete destroyable;
    } else if (auto* counted = dynamic_cast<qrn::IRefCount*>(object)) {
      counted->Release();
    }
    // Neither face: left alone.
  }
  // 4.
  m_deletionList.clear();

  // 5. The debug service goes last of the owned objects.
  delete m_debug;
  m_debug = nullptr;
  // 6. The members follow; named objects are borrowed and not touched.
}

qrn::diagnostics::IDebug* ktbasesystem::Debug() {
  if (m_debug == nullptr) m_debug = new ktdebug();
  return m_debug;
}

void ktbasesystem::RunStartupFactories() {
  // The end is re-read after every call: a factory registered by a running
  // factory runs in this same pass. A null entry is skipped.
  for (std::size_t index = 0; index < m_startupFactories.size(); ++index) {
    if (StartupFactory factory = m_startupFactories[index]) factory();
  }
  m_startupFactories.clear();  // keeps the storage
}

void ktbasesystem::RegisterObjectForDeletion(qrn::IBase* object) {
  if (object != nullptr) m_deletionList.push_back(object);
}

void ktbasesystem::RegisterSingleton(const char* name, Factory factory) {
  if (name == nullptr) return;
  const std::string key(name);
  if (m_singletonFactories.count(key) != 0) {
    // Re-registration: the live instance gets Term() and is forgotten, but it
    // stays on the deletion list and dies at shutdown.
    auto instance = m_singletons.find(key);
    if (instance != m_singletons.end()) {
      if (instance->second != nullptr) {
        if (auto* singleton = dynamic_cast<qrn::ISingleton*>(instance->second)) singleton->Term();
      }
      m_singletons.erase(key);  // by key: Term() may have changed the map
    }
  }
  m_singletonFactories[key] = factory;
}

// Lookups take the name as a view: no key string is built for them. An
// existing instance costs one lookup.
qrn::IBase* ktbasesystem::GetSingleton(const char* name) {
  if (name == nullptr) return nullptr;
  const std::string_view view(name);
  auto instance = m_singletons.find(view);
  if (instance != m_singletons.end()) return instance->second;

  auto registered = m_singletonFactories.find(view);
  if (registered == m_singletonFactories.end()) return nullptr;

  // The name is copied before the factory runs, as the caller passed it.
  std::string key(view);
  // A null factory pointer counts as a factory that made nothing.
  Factory factory = registered->second;
  qrn::IBase* object = factory != nullptr ? factory() : nullptr;

  // Stored (null too, so the factory runs once) and handed over before Init():
  // an Init() that asks for its own name gets this object, not a recursion.
  m_singletons.insert_or_assign(std::move(key), object);
  qrn::ISystem* self = this;
  self->RegisterObjectForDeletion(object);
  if (object != nullptr) {
    if (auto* singleton = dynamic_cast<qrn::ISingleton*>(object)) singleton->Init();
  }
  return object;
}

void ktbasesystem::SetNamedObject(const char* name, qrn::IBase* object) {
  if (name != nullptr) m_namedObjects[name] = object;
}

void ktbasesystem::RemoveNamedObject(const char* name) {
  if (name != nullptr) m_namedObjects.erase(name);
}

qrn::IBase* ktbasesystem::GetNamedObject(const char* name) {
  if (name == nullptr) return nullptr;
  auto entry = m_namedObjects.find(std::string_view(name));
  return entry != m_namedObjects.end() ? entry->second : nullptr;
}

void ktbasesystem::RegisterComponent(const char* name, Factory factory) {
  if (name != nullptr) m_componentFactories[name] = factory;
}

qrn::IBase* ktbasesystem::CreateComponent(const char* name) {
  if (name == nullptr) return nullptr;
  auto entry = m_componentFactories.find(std::string_view(name));
  if (entry == m_componentFactories.end() || entry->second == nullptr) return nullptr;
  // The caller owns the result: not stored, not registered, no Init().
  return entry->second();
}

void ktbasesystem::RegisterStartupFactory(StartupFactory factory) {
  m_startupFactories.push_back(factory);
}

bool ktbasesystem::IsDCCPlugin() const { return m_isDCCPlugin; }

void ktbasesystem::GetApplicationArguments(std::vector<std::string>& out) const {
  out = m_arguments;
}

std::string ktbasesystem::GetPackageRoot() {
  // Through the interface, so an override of the arguments is honoured.
  std::vector<std::string> arguments;
  const qrn::ISystem* self = this;
  self->GetApplicationArguments(arguments);
  if (arguments.empty()) return std::string();

  // The program lies four levels below the package root.
  fs::path root(arguments.front());
  for (int level = 0; level < 4; ++level) root.remove_filename();
  return root.string();
}

std::string ktbasesystem::GetToolPath(const std::string& subDir, const std::string& toolName) {
  // Through the interface, so an override of the root changes the lookup.
  qrn::ISystem* self = this;
  fs::path full(self->GetPackageRoot());

  // The throwing status queries report a missing file as file_not_found and
  // throw filesystem_error for any other failure (e.g. a name too long).
  full /= subDir;
  (void)fs::status(full);
  full /= std::string("linux_intel") + "." + "release";
  (void)fs::status(full);
  full /= toolName;
  const fs::file_type type = fs::status(full).type();

  // A miss is only logged: the path is returned either way.
  if (type == fs::status_error || type == fs::file_not_found)
    Log::Singleton::Instance()->Stream(2) << "Cannot find: " << full.string() << std::endl;
  return full.string();
}

const char* ktbasesystem::GetClsName() { return "Norvex.KTC.BaseSystem"; }
