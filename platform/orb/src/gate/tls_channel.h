#pragma once

#include <kelp/orb/request.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "../tls/owned.h"
#include "gate.h"
#include "handshake_table.h"
#include "octet_channel.h"

namespace kelp::orb::gate {

/// TLS, the server's side. The handshake is made by whoever calls receive(), as far as it goes
/// without waiting; until the peer has sent something there is no state of the library for it.
class TlsChannel final : public OctetChannel, private HandshakeSeat {
  public:
    /// Owns the descriptor from here on.
    TlsChannel(int descriptor, std::shared_ptr<SSL_CTX> context, std::shared_ptr<Gate> gate,
               PeerAddress peer);
    ~TlsChannel() override;
    TlsChannel(const TlsChannel&) = delete;
    TlsChannel& operator=(const TlsChannel&) = delete;

    long receive(std::span<std::uint8_t> into, Wait wait) override;
    bool hasBuffered() const override;
    long send(std::span<const std::uint8_t> octets, std::chrono::milliseconds limit) override;
    void shutDown() override;
    int descriptor() const override { return descriptor_; }
    /// The peer's certificate (X509), once it is checked; null when it has shown none. It never
    /// changes after the handshake, before which no message is received.
    void* peerDetails() const override { return certificate_.get(); }

  private:
    const std::string& address() const override { return peer_.text; }
    void giveUp() override { shutDown(); }

    long receiveSome(std::span<std::uint8_t> into);
    long sendSome(std::span<const std::uint8_t> octets);
    std::optional<long> begin();
    long fail(int result);
    void establish();
    void refuse(const std::string& reason);

    const int descriptor_;
    const std::shared_ptr<SSL_CTX> context_;
    const std::shared_ptr<Gate> gate_;
    const PeerAddress peer_;

    std::timed_mutex sendMutex_;            // one send() at a time, waits included; outside mutex_
    std::span<const std::uint8_t> unsent_;  ///< what the library wants to be given again

    mutable std::mutex
        mutex_;  // guards the next ones, and the library's calls; nobody waits inside
    OwnedConnection connection_;  ///< null before the peer's first octet
    OwnedCertificate certificate_;
    bool isEstablished_ = false;
    bool isBroken_ = false;

    std::atomic<bool> isShutDown_{false};  ///< by this side
};

}  // namespace kelp::orb::gate
