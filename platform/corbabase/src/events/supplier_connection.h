#pragma once

#include <cos/CosNotifyChannelAdmin.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "events/event_channel_link.h"
#include "orb/bounded_calls.h"

namespace NS_CORBA {

/// The place of a supplier in a channel of another process: a connected proxy. Its calls raise what
/// they raise, and are limited by the calling thread's time-out unless they take their limit as an
/// argument.
class SupplierConnection {
  public:
    /// Why there is no channel at an address that answers.
    class NoChannel : public std::runtime_error {
      public:
        using std::runtime_error::runtime_error;
    };

    /// Finds the channel at an address (a corbaloc or IOR) and connects to it. The object there is
    /// the channel, or a factory, of whose channels it is the eldest; a factory that has none makes
    /// one. Throws NoChannel or CORBA::Exception.
    static std::unique_ptr<SupplierConnection> make(CORBA::ORB_ptr orb, const std::string& address,
                                                    const BoundedCalls& calls);
    virtual ~SupplierConnection() = default;

    /// Where it was found.
    const std::string& address() const { return address_; }
    /// The channel as it names itself, so that others reach it too.
    CosNotifyChannelAdmin::EventChannel_ptr channel() const { return channel_.in(); }

    virtual std::size_t batchMax() const = 0;
    virtual void push(const std::vector<EventPtr>& events) = 0;
    virtual void disconnect() = 0;
    /// A call that carries no event. False when the channel says that our proxy does not exist any
    /// more.
    bool exists() { return !proxy()->_non_existent(); }

  protected:
    SupplierConnection() = default;

  private:
    virtual CosNotifyChannelAdmin::ProxyConsumer_ptr proxy() const = 0;

    std::string address_;
    CosNotifyChannelAdmin::EventChannel_var channel_;
};

}  // namespace NS_CORBA
