// qrn::signalling::IConnection: a slot connection seen without its signal
// library.
//
// Slots are append-only.
#ifndef KTBASE_ICONNECTION_H
#define KTBASE_ICONNECTION_H

#include <ktbase/idestroy.h>
#include <ktbase/ktbase_export.h>

namespace qrn {
namespace signalling {

class KTBASE_API IConnection : public qrn::IDestroy {
 public:
  ~IConnection() override;
  virtual void Disconnect() = 0;
  virtual bool IsConnected() = 0;
  virtual void Block(bool block) = 0;
  virtual void Unblock() = 0;
  virtual bool Blocked() = 0;
  virtual void Swap(const IConnection* other) = 0;
};

}  // namespace signalling
}  // namespace qrn

#endif  // KTBASE_ICONNECTION_H
