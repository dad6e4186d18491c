// A Boost.Signals2 connection behind qrn::signalling::IConnection.
#include <ktbase/ktsignals.h>

#include <utility>

namespace BaseSystem {

// The blocker starts released: wrapping a handle changes nothing.
ktconnection::ktconnection(boost::signals2::connection connection)
    : m_connection(std::move(connection)), m_block(m_connection, false) {}

// Never disconnects. Destroying m_block lifts this wrapper's own block only.
ktconnection::~ktconnection() = default;

void ktconnection::Disconnect() { m_connection.disconnect(); }

bool ktconnection::IsConnected() { return m_connection.connected(); }

// Signals2 blocks per blocker object: Block(true) holds this wrapper's
// blocker, Block(false) and Unblock() release it (a block held through
// another handle stays). Safe on an empty handle.
void ktconnection::Block(bool block) {
  if (block)
    m_block.block();
  else
    m_block.unblock();
}

void ktconnection::Unblock() { m_block.unblock(); }

// Signals2's blocked() ignores the disconnected state; this face counts a
// disconnected (or empty) connection as blocked.
bool ktconnection::Blocked() { return !m_connection.connected() || m_connection.blocked(); }

// Deliberately empty: no handles are exchanged.
void ktconnection::Swap(const qrn::signalling::IConnection* /*other*/) {}

const char* ktconnection::GetClsName() { return "System.Signals.Connection"; }

}  // namespace BaseSystem
