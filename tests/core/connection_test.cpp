// BaseSystem::ktconnection over a Boost.Signals2 connection.
#include <gtest/gtest.h>
#include <ktbase/ktsignals.h>

#include <boost/signals2/signal.hpp>

namespace {

using BaseSystem::ktconnection;

TEST(ConnectionTest, BlocksWhileConnectedAndNeverDisconnectsByItself) {
  boost::signals2::signal<void()> signal;
  int calls = 0;
  const auto emit = [&] {
    calls = 0;
    signal();
    return calls;
  };
  boost::signals2::connection handle = signal.connect([&] { ++calls; });
  // Destroyed through either face, a wrapper leaves the slot connected.
  qrn::IBase* asBase = new ktconnection(handle);
  qrn::signalling::IConnection* asConnection = new ktconnection(handle);
  delete asBase;
  delete asConnection;
  EXPECT_EQ(emit(), 1);

  ktconnection connection = handle;  // copy-initialised, as plug-ins write it
  ktconnection other(signal.connect([&] { ++calls; }));
  connection.Block(true);
  connection.Swap(&other);  // deliberately a no-op
  other.Swap(&connection);
  EXPECT_TRUE(connection.Blocked());
  EXPECT_FALSE(other.Blocked());
  EXPECT_EQ(emit(), 1);

  // Disconnected (for every handle) or empty: blocked, whatever is asked.
  ktconnection empty{boost::signals2::connection()};
  connection.Disconnect();
  EXPECT_FALSE(handle.connected());
  for (ktconnection* each : {&connection, &empty}) {
    each->Disconnect();
    each->Block(true);
    each->Unblock();
    EXPECT_FALSE(each->IsConnected());
    EXPECT_TRUE(each->Blocked());
  }
  EXPECT_EQ(emit(), 1);
}

}  // namespace
