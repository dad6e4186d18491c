/// @file
/// qrn::ISingleton, the lifecycle hooks of a singleton service.
///
/// Slots are append-only.
/// @ingroup system
#ifndef KTBASE_ISINGLETON_H
#define KTBASE_ISINGLETON_H

#include <ktbase/ktbase_export.h>

namespace qrn {

/// Lifecycle hooks of a singleton service (qrn::ISystem::RegisterSingleton()).
/// @par Threads
/// Called on the thread that asked for the singleton, or that ended the
/// system.
/// @ingroup system
class KTBASE_API ISingleton {
 public:
  virtual ~ISingleton();
  /// Called once, right after the system created the instance, on its first
  /// qrn::ISystem::GetSingleton(). May ask the system for other singletons,
  /// its own name included (it gets this instance).
  virtual void Init() = 0;
  /// Called once before the instance is destroyed at shutdown (in
  /// ascending name order), or when its name is registered anew.
  virtual void Term() = 0;
};

}  // namespace qrn

#endif  // KTBASE_ISINGLETON_H
