// The four entry points of the system. Single-threaded: callers serialise.
#ifndef KTBASE_KTBASE_H
#define KTBASE_KTBASE_H

#include <ktbase/isystem.h>
#include <ktbase/ktbase_export.h>

// Creates the one system object, or returns the live one unchanged (its
// arguments are then ignored). argv[0..argc-1] must not be null. Throws only
// std::bad_alloc, leaving no system behind.
KTBASE_API qrn::ISystem* qrnInitSystem(bool isDCCPlugin, int argc, char** argv);

// The live system; without one, raises the platform assertion (which neither
// prints nor stops) and returns null.
KTBASE_API qrn::ISystem* qrnGetSystem();

// Destroys the live system (see ~ktbasesystem for the order) and returns
// true; false when there is none.
KTBASE_API bool qrnExitSystem();

KTBASE_API bool qrnIsSystemInitialized();

#endif  // KTBASE_KTBASE_H
