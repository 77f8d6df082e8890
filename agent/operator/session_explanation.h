#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "operator/session_figures.h"

namespace NS_KELPCORBA {

/// What an explanation needs to know apart from the session's figures.
struct ExplanationContext {
    /// Round-trip time of the NMS's connections, as the system's TCP measures it. Empty if there is
    /// no connection.
    std::optional<std::chrono::microseconds> network{};
    std::chrono::milliseconds callLimit{10000};  ///< [session] call_timeout_s
};

/// Why an NMS is slow, and what to do.
struct Explanation {
    bool isSlow = false;
    std::vector<std::string> findings{};  ///< each one sentence with the measured figures
    std::vector<std::string> advice{};    ///< each one sentence; empty if nothing is to be done
};

/// Explain a session by its network, its response time and its batches. Says so where something has
/// not been measured.
Explanation explain(const SessionFigures& session, const ExplanationContext& context);

}  // namespace NS_KELPCORBA
