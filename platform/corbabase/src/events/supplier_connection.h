#pragma once

#include <cos/CosNotifyChannelAdmin.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "events/event_channel_link.h"
#include "orb/bounded_calls.h"

namespace NS_CORBA {

/// A supplier's connection to a channel of another process: a connected proxy. Its calls throw what
/// the ORB throws. The calling thread's time-out limits them, except for make(), which takes its
/// limit as an argument.
class SupplierConnection {
  public:
    /// The object at an address answers but does not lead to a channel.
    class NoChannel : public std::runtime_error {
      public:
        using std::runtime_error::runtime_error;
    };

    /// Find the channel at an address (a corbaloc or IOR) and connect to it. The object there is
    /// the channel or a factory. Of a factory's channels the oldest is used; a factory without
    /// channels creates one. Throws NoChannel or CORBA::Exception.
    static std::unique_ptr<SupplierConnection> make(CORBA::ORB_ptr orb, const std::string& address,
                                                    const BoundedCalls& calls);
    virtual ~SupplierConnection() = default;

    /// The address where the channel was found.
    const std::string& address() const { return address_; }
    /// The channel's own reference to itself, which other processes can reach too. Borrowed.
    CosNotifyChannelAdmin::EventChannel_ptr channel() const { return channel_.in(); }

    virtual std::size_t batchMax() const = 0;
    virtual void push(const std::vector<StructuredEventPtr>& events) = 0;
    virtual void disconnect() = 0;
    /// Make a call that carries no event. False when the channel answers that our proxy no longer
    /// exists.
    bool exists() { return !proxy()->_non_existent(); }

  protected:
    SupplierConnection() = default;

  private:
    virtual CosNotifyChannelAdmin::ProxyConsumer_ptr proxy() const = 0;

    std::string address_;
    CosNotifyChannelAdmin::EventChannel_var channel_;
};

}  // namespace NS_CORBA
