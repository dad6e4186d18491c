// The library's binary contract, declared independently of its headers, as an
// outside host or plug-in author would write it from the interface tables.
// Built against these declarations only, the contract test proves that the
// exported names, vtable slot order and class layouts match.
#ifndef KTBASE_TESTS_CONTRACT_DECLS_H
#define KTBASE_TESTS_CONTRACT_DECLS_H

#include <boost/signals2/connection.hpp>
#include <boost/signals2/shared_connection_block.hpp>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace qrn {
class IBase {
 public:
  virtual ~IBase() {}
  virtual const char* GetClsName() = 0;
};
class IDestroy {
 public:
  virtual ~IDestroy() {}
};
class ISingleton {
 public:
  virtual ~ISingleton() {}
  virtual void Init() = 0;
  virtual void Term() = 0;
};
class IRefCount {
 public:
  virtual ~IRefCount() {}
  virtual long AddRef() = 0;
  virtual long Release() = 0;
};
namespace diagnostics {
class IOutputConsole {
 public:
  virtual ~IOutputConsole() {}
  virtual void Write(const std::string&, int, int, int) = 0;
};
class IDebug {
 public:
  virtual ~IDebug() {}
  virtual void InstanceCountIncrease(const char*) = 0;
  virtual void InstanceCountDecrease(const char*) = 0;
  virtual void DumpLeaks() = 0;
  virtual bool Assert(bool, const char*, const char*, const char*, const char*, int, bool) = 0;
  virtual void PrintDebugString(const char*) = 0;
  virtual void RegisterDebugOutputConsole(IOutputConsole*) = 0;
};
}  // namespace diagnostics
namespace signalling {
class IConnection : public IDestroy {
 public:
  virtual void Disconnect() = 0;
  virtual bool IsConnected() = 0;
  virtual void Block(bool) = 0;
  virtual void Unblock() = 0;
  virtual bool Blocked() = 0;
  virtual void Swap(const IConnection*) = 0;
};
}  // namespace signalling
namespace fwk {
class ILog {
 public:
  virtual ~ILog() {}
  virtual void WriteLine(const char*) = 0;
  virtual void Write(const char*) = 0;
};
class IFileSearchPath {
 public:
  virtual ~IFileSearchPath() {}
  virtual void Add(const char*, bool) = 0;
  virtual bool FindByExtension(std::vector<std::string>&, const char*) = 0;
};
}  // namespace fwk
class ISystem {
 public:
  virtual ~ISystem() {}
  virtual diagnostics::IDebug* Debug() = 0;
  virtual void RunStartupFactories() = 0;
  virtual void RegisterObjectForDeletion(IBase*) = 0;
  virtual void RegisterSingleton(const char*, IBase* (*)()) = 0;
  virtual IBase* GetSingleton(const char*) = 0;
  virtual void SetNamedObject(const char*, IBase*) = 0;
  virtual void RemoveNamedObject(const char*) = 0;
  virtual IBase* GetNamedObject(const char*) = 0;
  virtual void RegisterComponent(const char*, IBase* (*)()) = 0;
  virtual IBase* CreateComponent(const char*) = 0;
  virtual void RegisterStartupFactory(void (*)()) = 0;
  virtual bool IsDCCPlugin() const = 0;
  virtual void GetApplicationArguments(std::vector<std::string>&) const = 0;
  virtual std::string GetPackageRoot() = 0;
  virtual std::string GetToolPath(const std::string&, const std::string&) = 0;
};
}  // namespace qrn

qrn::ISystem* qrnInitSystem(bool, int, char**);
qrn::ISystem* qrnGetSystem();
bool qrnExitSystem();
bool qrnIsSystemInitialized();
bool _plateform_assert(bool, const char*, const char*, const char*, const char*, int, bool);

class IKTPrefManager : public qrn::IBase, public qrn::IDestroy, public qrn::ISingleton {
 public:
  enum EPrefType { ePrefUser = 0, ePrefProject = 1, ePrefSite = 2, ePrefAll = 3 };
  static IKTPrefManager* Create();
  virtual void Configure(const std::string&, EPrefType) = 0;
  virtual void Configure(const std::string&, const std::string&, const std::string&) = 0;
  virtual void Writable(bool) = 0;
  virtual void SetPref(const std::string&, bool, EPrefType) = 0;
  virtual void SetPref(const std::string&, const std::string&, EPrefType) = 0;
  virtual void SetPref(const std::string&, const char*, EPrefType) = 0;
  virtual void SetPref(const std::string&, const char*, unsigned long, EPrefType) = 0;
  virtual void SetPref(const std::string&, int, EPrefType) = 0;
  virtual void SetPref(const std::string&, float, EPrefType) = 0;
  virtual void SetPref(const std::string&, const std::vector<std::string>&, char, EPrefType) = 0;
  virtual bool GetPref(const std::string&, bool, bool&, bool) = 0;
  virtual std::string& GetPref(const std::string&, const std::string&, std::string&, bool) = 0;
  virtual std::string& GetPref(const std::string&, const char*, std::string&, bool) = 0;
  virtual int GetPref(const std::string&, int, int&, bool) = 0;
  virtual float GetPref(const std::string&, float, float&, bool) = 0;
  virtual std::vector<std::string>& GetPref(const std::string&, char,
                                            const std::vector<std::string>&,
                                            std::vector<std::string>&, bool) = 0;
  virtual void GetPref(const std::string&, char*, unsigned long&) = 0;
  virtual bool IsPref(const std::string&, bool, bool) = 0;
  virtual void RemovePref(std::string) = 0;
  virtual bool LoadFromDisk(EPrefType) = 0;
  virtual bool SaveToDisk(EPrefType) = 0;
  virtual void Print() = 0;
  virtual void Init() = 0;
  virtual void Term() = 0;
};

class ktbaserefcount {
 public:
  ktbaserefcount();
  virtual ~ktbaserefcount();
  long AddRef();
  long Release();

 private:
  long m_count;
};

class ktFileLog : public qrn::fwk::ILog {
 public:
  ktFileLog();
  ~ktFileLog() override;
  bool Open(const char*, const char*);
  void Attach(FILE*);
  FILE* Detach();
  void Close();
  void Flush();
  void WriteLine(const char*) override;
  void Write(const char*) override;

 private:
  void* m_reserved;
  FILE* m_file;
};

class KTSearchPath : public qrn::fwk::IFileSearchPath, public qrn::IBase, public qrn::IDestroy {
 public:
  KTSearchPath();
  ~KTSearchPath() override;
  void Add(const char*, bool) override;
  bool FindByExtension(std::vector<std::string>&, const char*) override;
  const char* GetClsName() override;

 private:
  std::vector<std::string> m_paths;
};

namespace BaseSystem {
class ktconnection : public qrn::signalling::IConnection, public qrn::IBase {
 public:
  ktconnection(boost::signals2::connection);
  ~ktconnection() override;
  void Disconnect() override;
  bool IsConnected() override;
  void Block(bool) override;
  void Unblock() override;
  bool Blocked() override;
  void Swap(const qrn::signalling::IConnection*) override;
  const char* GetClsName() override;

 private:
  boost::signals2::connection m_connection;
  boost::signals2::shared_connection_block m_block;
};
}  // namespace BaseSystem

namespace vorn {
namespace runtime {
template <typename T, std::size_t N>
class Array {
 public:
  T m_data[N];
};
}  // namespace runtime
}  // namespace vorn

class KtUID {
 public:
  KtUID(unsigned int, unsigned short, unsigned short, unsigned char, unsigned char, unsigned char,
        unsigned char, unsigned char, unsigned char, unsigned char, unsigned char);
  KtUID(const vorn::runtime::Array<unsigned char, 16>&);
  KtUID(const char*, bool);
  static bool IsUID(const char*);
  void GetStr(char*) const;
  static const char* GetNullUIDStr();

 private:
  unsigned char m_bytes[16];
};
unsigned char xdigitToUint8(const char&);

class CKTAppDataPath {
 public:
  enum EKTAppDataPath { eDefault = 0 };
  CKTAppDataPath(const std::string&, EKTAppDataPath);
  ~CKTAppDataPath();
  CKTAppDataPath& Set(const std::string&, EKTAppDataPath);
  bool GetAppData(std::string&, EKTAppDataPath);
  bool MakeDirs(const std::string&);
  const std::string& string();

 private:
  std::string m_path;
};

class CKTTempFile {
 public:
  CKTTempFile(bool);
  ~CKTTempFile();
  bool SetPath(const std::string&);
  void Delete();
  bool CopyFrom(const std::string&);
  const std::string& string();

 private:
  bool m_deleteOnDestroy;
  std::string m_path;
};

std::string KTGetDynamicLibraryPath(const std::string&);
std::string KTGetBinDir();
std::string KTGetRootDir();
std::string KTGetDBDir();
std::string GetExecutableFileName();
bool KTRemoveFile(const std::string&);
bool KTRecursiveDelete(const std::string&);
void KTMakeWritable(const std::string&);

namespace ModuleUtils {
void* LoadModule(const char*, bool);
int UnloadModule(void*);
std::string GetZepPlatformModulePath();
void* GetEntryExecutableHandle();
void* GetLibraryFunc(void*, const char*);
std::string GetTempPath();
}  // namespace ModuleUtils

extern "C" void DummyPluginManagerLibraryFunction();

#endif  // KTBASE_TESTS_CONTRACT_DECLS_H
