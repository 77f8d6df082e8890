#pragma once

#include <functional>

namespace kelp::test {

/// Lets the platform's operations fail where no configuration makes them fail. The test program's
/// own definitions of these operations stand in front of the library's and pass on to them
/// otherwise.
struct PlatformFaults {
    /// GetRootPoa raises CORBA::INTERNAL once it was called this often; negative: never.
    static int getRootPoaAfter;
    /// AgentServer::Activate answers -1.
    static bool activateFails;
    /// Runs in every GetSSLMode, such as the naming monitor's at the beginning of a round.
    static std::function<void()> onGetSslMode;
};

}  // namespace kelp::test
