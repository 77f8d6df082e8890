#pragma once

#include "octet_channel.h"

namespace kelp::orb::gate {

/// TCP as it is.
class PlainChannel final : public OctetChannel {
  public:
    /// Owns the descriptor of a blocking socket from here on.
    explicit PlainChannel(int descriptor) : descriptor_(descriptor) {}
    ~PlainChannel() override;
    PlainChannel(const PlainChannel&) = delete;
    PlainChannel& operator=(const PlainChannel&) = delete;

    long receive(std::span<std::uint8_t> into, Wait wait) override;
    long send(std::span<const std::uint8_t> octets, std::chrono::milliseconds limit) override;
    void shutDown() override;
    int descriptor() const override { return descriptor_; }

  private:
    const int descriptor_;
};

}  // namespace kelp::orb::gate
