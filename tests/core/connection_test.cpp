// BaseSystem::ktconnection over a Boost.Signals2 connection.
#include <gtest/gtest.h>
#include <ktbase/ktsignals.h>

#include <boost/signals2/signal.hpp>

namespace {

using BaseSystem::ktconnection;

class ConnectionTest : public ::testing::Test {
 protected:
  boost::signals2::connection Connect() {
    return m_signal.connect([this] { ++m_calls; });
  }
  int Emit() {
    m_calls = 0;
    m_signal();
    return m_calls;
  }
  boost::signals2::signal<void()> m_signal;
  int m_calls = 0;
};

TEST_F(ConnectionTest, BlockAndUnblock) {
  ktconnection connection = Connect();  // copy-initialised, as plug-ins write it
  EXPECT_TRUE(connection.IsConnected());
  EXPECT_FALSE(connection.Blocked());
  connection.Block(true);
  EXPECT_TRUE(connection.Blocked());
  EXPECT_EQ(Emit(), 0);
  connection.Block(false);
  EXPECT_FALSE(connection.Blocked());
  EXPECT_EQ(Emit(), 1);
  connection.Block(true);
  connection.Unblock();
  EXPECT_FALSE(connection.Blocked());
}

TEST_F(ConnectionTest, DisconnectedOrEmptyCountsAsBlocked) {
  boost::signals2::connection handle = Connect();
  ktconnection disconnected(handle), empty{boost::signals2::connection()};
  disconnected.Disconnect();
  EXPECT_FALSE(handle.connected());  // shared state: every handle sees it
  EXPECT_EQ(Emit(), 0);
  for (ktconnection* connection : {&disconnected, &empty}) {
    connection->Disconnect();  // harmless, again or on nothing
    connection->Block(true);
    connection->Unblock();
    EXPECT_FALSE(connection->IsConnected());
    EXPECT_TRUE(connection->Blocked());
  }
}

TEST_F(ConnectionTest, SwapChangesNothing) {
  ktconnection blocked(Connect()), open(Connect());
  blocked.Block(true);
  blocked.Swap(&open);
  open.Swap(&blocked);
  open.Swap(nullptr);
  EXPECT_TRUE(blocked.Blocked());
  EXPECT_FALSE(open.Blocked());
  EXPECT_EQ(Emit(), 1);
}

TEST_F(ConnectionTest, DestructionThroughEitherFaceKeepsTheSlotConnected) {
  boost::signals2::connection handle = Connect();
  qrn::IBase* asBase = new ktconnection(handle);
  qrn::signalling::IConnection* asConnection = new ktconnection(handle);
  EXPECT_STREQ(asBase->GetClsName(), "System.Signals.Connection");
  EXPECT_STREQ(dynamic_cast<qrn::IBase*>(asConnection)->GetClsName(), "System.Signals.Connection");
  delete asBase;
  delete asConnection;
  EXPECT_TRUE(handle.connected());
  EXPECT_EQ(Emit(), 1);
}

}  // namespace
