/// @file
/// BaseSystem::ktconnection, a Boost.Signals2 connection behind
/// qrn::signalling::IConnection.
/// @ingroup system
#ifndef KTBASE_KTSIGNALS_H
#define KTBASE_KTSIGNALS_H

#include <ktbase/ibase.h>
#include <ktbase/iconnection.h>
#include <ktbase/ktbase_export.h>

#include <boost/signals2/connection.hpp>
#include <boost/signals2/shared_connection_block.hpp>

namespace BaseSystem {

/// A Boost.Signals2 connection behind qrn::signalling::IConnection.
/// Destroying the wrapper never disconnects. Swap() is deliberately a
/// no-op. Blocked() is true for an empty or disconnected connection. Block()
/// holds this wrapper's own blocker: a block held through another handle
/// stays. Nothing here throws but std::bad_alloc.
/// @onethread
/// @ingroup system
class KTBASE_API ktconnection : public qrn::signalling::IConnection, public qrn::IBase {
 public:
  /// Copies the handle; the connection is left as it is. Not explicit, so
  /// `ktconnection c = signal.connect(slot);` compiles.
  /// @param connection The handle; may be empty.
  ktconnection(boost::signals2::connection connection);
  /// Lifts this wrapper's block; never disconnects.
  ~ktconnection() override;

  void Disconnect() override;
  bool IsConnected() override;
  void Block(bool block) override;
  void Unblock() override;
  bool Blocked() override;
  void Swap(const qrn::signalling::IConnection* other) override;
  /// @return "System.Signals.Connection".
  const char* GetClsName() override;

 private:
  boost::signals2::connection m_connection;
  // Signals2 blocks through blocker objects; this wrapper's own one.
  boost::signals2::shared_connection_block m_block;
};

}  // namespace BaseSystem

#endif  // KTBASE_KTSIGNALS_H
