#pragma once

namespace kelp::notification {

/// An object of the channel that ends with its owner.
class Owned {
  public:
    virtual ~Owned() = default;
    /// In the order in which they are dropped: those that use others first.
    enum class Kind { Proxy, Admin, Filter };
    virtual Kind ownedKind() const = 0;
    /// End the object, because its owner may no longer use the channel. False, and no effect, if
    /// another owner's object still uses it. The caller keeps the object alive.
    virtual bool drop() = 0;
};

}  // namespace kelp::notification
