/// @file
/// The four entry points of the system.
/// @ingroup system
#ifndef KTBASE_KTBASE_H
#define KTBASE_KTBASE_H

#include <ktbase/isystem.h>
#include <ktbase/ktbase_export.h>

/// Creates the one system object, or returns the live one unchanged (its
/// arguments are then ignored). Called once by the host, before any plug-in.
/// @param isDCCPlugin True when the framework runs as a plug-in of a
///   content-creation application, false in a program of its own.
/// @param argc Number of arguments.
/// @param argv The arguments (copied); argv[0..argc-1] must not be null.
/// @return The system, never null; owned by the library until
///   qrnExitSystem().
/// @throws std::bad_alloc, leaving no system behind.
/// @onethread
/// @ingroup system
KTBASE_API qrn::ISystem* qrnInitSystem(bool isDCCPlugin, int argc, char** argv);

/// The live system.
/// @return The system (borrowed), or null when there is none; then the
///   platform assertion is raised, which neither prints nor stops (see
///   ktGetAssertReport()).
/// @onethread
/// @ingroup system
KTBASE_API qrn::ISystem* qrnGetSystem();

/// Destroys the live system: Term() on every singleton in ascending name
/// order, then the deletion list in registration order, then the debug
/// service (see ktbasesystem). Plug-ins may still reach the system from
/// Term() and from the destructors.
/// @return True; false when there is no system.
/// @onethread
/// @ingroup system
KTBASE_API bool qrnExitSystem();

/// @return True while a system lives (between qrnInitSystem() and
///   qrnExitSystem()).
/// @onethread
/// @ingroup system
KTBASE_API bool qrnIsSystemInitialized();

#endif  // KTBASE_KTBASE_H
