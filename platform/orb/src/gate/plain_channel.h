#pragma once

#include "octet_channel.h"

namespace kelp::orb::gate {

/// A TCP connection without TLS.
class PlainChannel final : public OctetChannel {
  public:
    /// Takes ownership of the descriptor of a blocking socket.
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
