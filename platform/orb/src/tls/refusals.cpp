#include "refusals.h"

#include <kelp/util/mutex.h>
#include <netdb.h>
#include <openssl/x509.h>
#include <sys/socket.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>

#include "../trace.h"

namespace kelp::orb {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPause{1};

/// Lets one line through per second and counts the others.
class Throttle {
  public:
    /// Return how many lines were held back since the last one that was let through; nothing when
    /// this one is held back too.
    std::optional<int> letThrough(Clock::time_point now) KELP_EXCLUDES(mutex_) {
        const util::MutexLock lock(mutex_);
        if (last_ && now - *last_ < kPause) {
            ++held_;
            return std::nullopt;
        }
        last_ = now;
        return std::exchange(held_, 0);
    }

  private:
    util::Mutex mutex_{util::LockRank::Service, "Throttle::mutex_"};
    std::optional<Clock::time_point> last_ KELP_GUARDED_BY(mutex_);
    int held_ KELP_GUARDED_BY(mutex_) = 0;
};

Throttle& throttle() {
    static Throttle* const made = new Throttle;
    return *made;
}

std::string refusalText(const SSL* connection, int where, int value) {
    const std::string alert = SSL_alert_desc_string_long(value);
    if ((where & SSL_CB_READ) != 0)
        return "TLS: " + peerInWords(connection) + " refuses this process: " + alert;
    const long verified = SSL_get_verify_result(connection);
    const std::string certificate =
        verified == X509_V_OK
            ? ""
            : std::string(", its certificate: ") + X509_verify_cert_error_string(verified);
    return "TLS: " + peerInWords(connection) + " is refused: " + alert + certificate;
}

}  // namespace

std::string peerInWords(const SSL* connection) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    char host[NI_MAXHOST];
    char port[NI_MAXSERV];
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (::getpeername(SSL_get_fd(connection), generic, &length) != 0 ||
        ::getnameinfo(generic, length, host, sizeof host, port, sizeof port,
                      NI_NUMERICHOST | NI_NUMERICSERV) != 0)
        return "a peer that is gone";
    return std::string(host) + " port " + port;
}

void traceRefusal(const SSL* connection, int where, int value) {
    const bool isFatalAlert = (where & SSL_CB_ALERT) != 0 && (value >> 8) == SSL3_AL_FATAL;
    if (!isFatalAlert)
        return;
    const std::optional<int> held = throttle().letThrough(Clock::now());
    if (!held)
        return;
    traceException(
        refusalText(connection, where, value) +
        (*held > 0 ? " (and " + std::to_string(*held) + " more since the last such line)" : ""));
}

}  // namespace kelp::orb
