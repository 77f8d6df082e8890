#pragma once

namespace kelp::notification {

/// An object of the channel that ends with its owner.
class Owned {
  public:
    virtual ~Owned() = default;
    /// In the order in which they end: what uses others first.
    enum class Kind { Proxy, Admin, Filter };
    virtual Kind ownedKind() const = 0;
    /// Ends it, since its owner may not use the channel any more. False: something that is another
    /// owner's still uses it, and it stays. The caller keeps it alive.
    virtual bool drop() = 0;
};

}  // namespace kelp::notification
