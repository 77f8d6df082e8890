#pragma once

#include <kelp/orb/gate.h>

#include <atomic>
#include <memory>
#include <string_view>

#include "connection_table.h"
#include "giop/input_budget.h"
#include "giop/message_assembler.h"
#include "handshake_table.h"
#include "locate_rates.h"

namespace kelp::orb::gate {

/// The limits, budgets and tables that all connections of one ORB share. Callable from any thread.
class Gate {
  public:
    struct Settings {
        GateLimits limits;
        std::size_t messageBytesMax = 0;
        std::chrono::milliseconds replyTimeout{0};  ///< 0: no limit
        GatePolicy* policy = nullptr;               ///< null: everybody is admitted and trusted
    };

    explicit Gate(const Settings& settings);

    /// Return the gate of the ORB that was started last. Endpoints keep the gate that they found at
    /// their creation.
    static std::shared_ptr<Gate> current();
    static void makeCurrent(const Settings& settings);

    bool admits(const util::PeerAddress& peer) const;
    bool isLoggedIn(const util::PeerAddress& peer) const;
    void refused(const util::PeerAddress& peer, std::string_view reason) const;
    void ended(const util::PeerAddress& peer) const;
    bool mayLocate(const util::PeerAddress& peer);

    const Settings& settings() const { return settings_; }
    const giop::AssemblerLimits& assemblerLimits() const { return assemblerLimits_; }
    giop::InputBudget& budget() { return budget_; }
    ConnectionTable& connections() { return connections_; }
    HandshakeTable& handshakes() { return handshakes_; }

    /// Note that a message of this size has been read. Its memory goes back to the system a little
    /// later.
    void messageRead(std::size_t octets);
    /// Give memory back to the system after large messages. For a thread that has time.
    void tidy(std::chrono::steady_clock::time_point now);

  private:
    const Settings settings_;
    const giop::AssemblerLimits assemblerLimits_;
    giop::InputBudget budget_;
    ConnectionTable connections_;
    HandshakeTable handshakes_;
    LocateRates locates_;
    std::atomic<int> tidyRounds_{0};
    std::atomic<std::chrono::steady_clock::rep> tidyNext_{0};
};

}  // namespace kelp::orb::gate
