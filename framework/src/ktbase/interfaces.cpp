// Out-of-line destructors: the key functions that put each interface's vtable
// and type information in libktbase.so, once, for cross-module casts.
#include <ktbase/ibase.h>
#include <ktbase/iconnection.h>
#include <ktbase/idebug.h>
#include <ktbase/idestroy.h>
#include <ktbase/ifilesearchpath.h>
#include <ktbase/ilog.h>
#include <ktbase/ioutputconsole.h>
#include <ktbase/irefcount.h>
#include <ktbase/isingleton.h>
#include <ktbase/isystem.h>

qrn::IBase::~IBase() = default;
qrn::IDestroy::~IDestroy() = default;
qrn::ISingleton::~ISingleton() = default;
qrn::IRefCount::~IRefCount() = default;
qrn::ISystem::~ISystem() = default;
qrn::diagnostics::IDebug::~IDebug() = default;
qrn::diagnostics::IOutputConsole::~IOutputConsole() = default;
qrn::signalling::IConnection::~IConnection() = default;
qrn::fwk::ILog::~ILog() = default;
qrn::fwk::IFileSearchPath::~IFileSearchPath() = default;
