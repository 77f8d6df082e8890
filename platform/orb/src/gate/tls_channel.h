#pragma once

#include <kelp/orb/request.h>
#include <kelp/util/mutex.h>

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

/// The server's side of a TLS connection. The thread that calls receive() makes the handshake, as
/// far as it goes without waiting. The library's state for it is created only when the peer has
/// sent something.
class TlsChannel final : public OctetChannel, private HandshakeSeat {
  public:
    /// Takes ownership of the descriptor.
    TlsChannel(int descriptor, std::shared_ptr<SSL_CTX> context, std::shared_ptr<Gate> gate,
               util::PeerAddress peer);
    ~TlsChannel() override;
    TlsChannel(const TlsChannel&) = delete;
    TlsChannel& operator=(const TlsChannel&) = delete;

    long receive(std::span<std::uint8_t> into, Wait wait) override KELP_EXCLUDES(mutex_);
    bool hasBuffered() const override KELP_EXCLUDES(mutex_);
    long send(std::span<const std::uint8_t> octets, std::chrono::milliseconds limit) override
        KELP_EXCLUDES(mutex_);
    void shutDown() override;
    int descriptor() const override { return descriptor_; }
    /// Return the peer's certificate (X509) once it is checked; null when the peer has shown none.
    /// It never changes after the handshake, and no message is received before that.
    void* peerDetails() const override KELP_NOT_CHECKED { return certificate_.get(); }

  private:
    const std::string& address() const override { return peer_.text; }
    void giveUp() override { shutDown(); }

    long receiveSome(std::span<std::uint8_t> into) KELP_EXCLUDES(mutex_);
    long sendSome(std::span<const std::uint8_t> octets) KELP_EXCLUDES(mutex_);
    std::optional<long> begin() KELP_REQUIRES(mutex_);
    long fail(int result) KELP_REQUIRES(mutex_);
    void establish() KELP_REQUIRES(mutex_);
    void refuse(const std::string& reason);

    const int descriptor_;
    const std::shared_ptr<SSL_CTX> context_;
    const std::shared_ptr<Gate> gate_;
    const util::PeerAddress peer_;

    std::timed_mutex sendMutex_;  // one send() at a time, including its waits; locked before mutex_
    std::span<const std::uint8_t> unsent_;  ///< what the library must be given again

    /// Also held during the library's calls. Nobody waits while holding it.
    mutable util::Mutex mutex_{util::LockRank::Gate, "TlsChannel::mutex_"};
    OwnedConnection connection_ KELP_GUARDED_BY(mutex_);  ///< null before the peer's first octet
    OwnedCertificate certificate_ KELP_GUARDED_BY(mutex_);
    bool isEstablished_ KELP_GUARDED_BY(mutex_) = false;
    bool isBroken_ KELP_GUARDED_BY(mutex_) = false;

    std::atomic<bool> isShutDown_{false};  ///< shut down by this side
};

}  // namespace kelp::orb::gate
