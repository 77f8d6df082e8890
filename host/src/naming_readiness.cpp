#include "naming_readiness.h"

#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/naming_findings.h>

#include <chrono>
#include <thread>

namespace kelp::host {

namespace {

using namespace std::chrono_literals;

/// Longer than the monitor's first round, which begins 3 s after the start and makes a few calls of
/// at most 2 s each.
constexpr std::chrono::seconds kLongestWait{20};
constexpr std::chrono::milliseconds kPause{50};

bool orbRuns() {
    try {
        const CORBA::ORB_var orb = NS_CORBA::CorbaBaseAgentConfig::Instance()->GetOrb();
        return true;
    } catch (const CORBA::BAD_INV_ORDER&) {
        return false;
    }
}

}  // namespace

std::string whyNotBound(const NS_CORBA::NamingEntryState& entry) {
    if (!entry.failure.empty())
        return entry.failure;
    if (!entry.foreign.empty())
        return "the naming service has another entry in its place, which could not be replaced";
    return "the naming service has not answered yet";
}

std::string awaitFactoryEntry(SignalWatch& signals) {
    if (!orbRuns())
        return {};
    const auto deadline = std::chrono::steady_clock::now() + kLongestWait;
    while (!signals.isStopAskedFor()) {
        const NS_CORBA::NamingEntryState entry = NS_CORBA::NamingFindings::Instance().State();
        if (entry.isBound)
            return {};
        const bool isKnown = !entry.failure.empty() || !entry.foreign.empty();
        if (isKnown || std::chrono::steady_clock::now() >= deadline)
            return whyNotBound(entry);
        std::this_thread::sleep_for(kPause);
    }
    return {};
}

}  // namespace kelp::host
