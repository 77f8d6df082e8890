#include "gate.h"

#include <kelp/util/mutex.h>
#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>

#include "../trace.h"

namespace kelp::orb {

GatePolicy::~GatePolicy() = default;

}  // namespace kelp::orb

namespace kelp::orb::gate {

namespace {

/// A message of this size or more leaves memory behind that is worth giving back to the system.
constexpr std::size_t kLargeMessage = std::size_t{256} * 1024;
constexpr std::chrono::seconds kTidyPause{2};
/// Number of times memory is given back after a large message: the ORB may keep it for as long as
/// its call runs.
constexpr int kTidyRounds = 5;

/// Larger blocks have separate pages, which go back to the system when they are freed. Without this
/// setting, once a larger block has been freed, the allocator keeps blocks of up to 32 MiB in each
/// of its arenas.
constexpr int kOwnPagesFrom = 1 << 20;
/// Free memory that an arena may keep at its end.
constexpr int kKeptAtEnd = 4 << 20;

void returnLargeBlocks() {
    ::mallopt(M_MMAP_THRESHOLD, kOwnPagesFrom);
    ::mallopt(M_TRIM_THRESHOLD, kKeptAtEnd);
}

util::Mutex currentMutex{util::LockRank::Service, "Gate::currentMutex"};
std::shared_ptr<Gate> currentGate KELP_GUARDED_BY(currentMutex);

giop::AssemblerLimits assemblerLimitsOf(const Gate::Settings& settings) {
    giop::AssemblerLimits limits;
    limits.messageOctetsMax = settings.messageBytesMax;
    limits.octetsMaxBeforeLogin =
        std::min(settings.limits.messageBytesBeforeLogin, settings.messageBytesMax);
    limits.progress.window = settings.limits.headerTimeout;
    limits.progress.octetsPerWindow =
        settings.limits.inputRateMin *
        static_cast<std::size_t>(settings.limits.headerTimeout.count()) / 1000;
    return limits;
}

std::size_t descriptorsMax() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return std::size_t{1} << 20;
    return static_cast<std::size_t>(limit.rlim_cur);
}

ConnectionTable::Limits tableLimitsOf(const GateLimits& limits) {
    const std::size_t half = descriptorsMax() / 2;
    if (limits.connectionsMax > half)
        trace(util::TraceKind::Trace,
              "At most " + std::to_string(half) +
                  " connections are accepted, half of the descriptors that this process "
                  "may have.");
    ConnectionTable::Limits table;
    table.connectionsMax = std::min<std::size_t>(limits.connectionsMax, half);
    table.perAddressMax = limits.connectionsPerAddressMax;
    // with few descriptors, addresses without a log-in get some as well
    table.reserved = std::min<std::size_t>(limits.connectionsReserved, table.connectionsMax / 2);
    return table;
}

}  // namespace

Gate::Gate(const Settings& settings)
    : settings_(settings),
      assemblerLimits_(assemblerLimitsOf(settings)),
      budget_(settings.limits.unfinishedBytesMax),
      connections_(tableLimitsOf(settings.limits),
                   [this](const util::PeerAddress& peer) { return isLoggedIn(peer); }),
      handshakes_({settings.limits.tlsHandshakesMax, settings.limits.tlsHandshakesPerAddressMax}) {}

std::shared_ptr<Gate> Gate::current() {
    const util::MutexLock lock(currentMutex);
    return currentGate;
}

void Gate::makeCurrent(const Settings& settings) {
    returnLargeBlocks();
    auto made = std::make_shared<Gate>(settings);
    const util::MutexLock lock(currentMutex);
    currentGate.swap(made);
}

bool Gate::admits(const util::PeerAddress& peer) const {
    return settings_.policy == nullptr || settings_.policy->admits(peer);
}

bool Gate::isLoggedIn(const util::PeerAddress& peer) const {
    return settings_.policy == nullptr || settings_.policy->isLoggedIn(peer);
}

void Gate::refused(const util::PeerAddress& peer, std::string_view reason) const {
    if (settings_.policy != nullptr)
        settings_.policy->refused(peer, reason);
}

void Gate::ended(const util::PeerAddress& peer) const {
    if (settings_.policy != nullptr)
        settings_.policy->ended(peer);
}

bool Gate::mayLocate(const util::PeerAddress& peer) {
    const unsigned limit = isLoggedIn(peer) ? settings_.limits.locatesPerSecond
                                            : settings_.limits.locatesPerSecondBeforeLogin;
    return locates_.take(peer.text, limit, std::chrono::steady_clock::now());
}

void Gate::messageRead(std::size_t octets) {
    if (octets >= kLargeMessage)
        tidyRounds_ = kTidyRounds;
}

void Gate::tidy(std::chrono::steady_clock::time_point now) {
    auto next = tidyNext_.load();
    if (tidyRounds_ <= 0 || now.time_since_epoch().count() < next ||
        !tidyNext_.compare_exchange_strong(next, (now + kTidyPause).time_since_epoch().count()))
        return;
    --tidyRounds_;
    ::malloc_trim(0);
}

}  // namespace kelp::orb::gate
