/// @file
/// qrn::signalling::IConnection, a slot connection seen without its signal
/// library.
///
/// Slots are append-only.
/// @ingroup system
#ifndef KTBASE_ICONNECTION_H
#define KTBASE_ICONNECTION_H

#include <ktbase/idestroy.h>
#include <ktbase/ktbase_export.h>

namespace qrn {
namespace signalling {

/// A connection between a signal and a slot, seen without its signal
/// library. BaseSystem::ktconnection implements it over Boost.Signals2.
/// Destroy it through qrn::IDestroy; destroying it never disconnects.
/// @onethread
/// @ingroup system
class KTBASE_API IConnection : public qrn::IDestroy {
 public:
  ~IConnection() override;
  /// Disconnects the slot for good.
  virtual void Disconnect() = 0;
  /// @return True while the slot is connected.
  virtual bool IsConnected() = 0;
  /// Blocks (`true`) or unblocks (`false`) the slot through this object's
  /// own block.
  /// @param block True to block, false to lift this object's block.
  virtual void Block(bool block) = 0;
  /// Lifts this object's block (as `Block(false)`).
  virtual void Unblock() = 0;
  /// @return True when the slot would not be called.
  virtual bool Blocked() = 0;
  /// Meant to exchange two connections; BaseSystem::ktconnection does
  /// nothing here, deliberately.
  /// @param other The other connection (borrowed; may be null).
  virtual void Swap(const IConnection* other) = 0;
};

}  // namespace signalling
}  // namespace qrn

#endif  // KTBASE_ICONNECTION_H
