#pragma once

#include <kelp/orb/request.h>

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace kelp::notification {

/// How many objects of one kind clients at each address have in the channel. An object holds a place of the
/// address that it was made from, until it ends. Thread safe; places may outlive this.
class AddressPlaces {
  public:
    /// Held by one object; the place is free when the last copy is gone.
    using Place = std::shared_ptr<const void>;

    /// Places of one address.
    explicit AddressPlaces(std::size_t max) : max_(max), counts_(std::make_shared<Counts>()) {}

    std::size_t max() const { return max_; }
    /// A place of this peer's address; null when it has all of them. A caller inside the process, who has no
    /// address, always gets one.
    Place take(const kelp::orb::PeerAddress& peer) {
        const std::string address = kelp::orb::networkOf(peer);
        if (address.empty())
            return std::make_shared<char>();
        // first: the place must be given back also when there is no memory for the one that holds it
        auto held = std::make_shared<Held>(counts_);
        const std::lock_guard guard(counts_->mutex);
        std::size_t& count = counts_->byAddress[address];
        if (count >= max_)
            return nullptr;
        held->address = address;
        ++count;
        return held;
    }

  private:
    struct Counts {
        std::mutex mutex;
        std::map<std::string, std::size_t> byAddress;  ///< guarded by mutex; none is 0 for long
    };
    struct Held {
        explicit Held(std::shared_ptr<Counts> shared) : counts(std::move(shared)) {}
        ~Held() {
            if (address.empty())
                return;
            const std::lock_guard guard(counts->mutex);
            const auto found = counts->byAddress.find(address);
            if (--found->second == 0)
                counts->byAddress.erase(found);
        }
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;

        const std::shared_ptr<Counts> counts;
        std::string address;  ///< empty: no place was taken
    };

    const std::size_t max_;
    const std::shared_ptr<Counts> counts_;
};

}  // namespace kelp::notification
