#pragma once

#include <functional>

namespace kelp::test {

/// Makes platform operations fail that no configuration can make fail. The test program defines
/// these operations itself, ahead of the library's definitions, and calls those otherwise.
struct PlatformFaults {
    /// GetRootPoa throws CORBA::INTERNAL after this number of calls. Negative: never.
    static int getRootPoaAfter;
    /// AgentServer::Activate returns -1.
    static bool activateFails;
    /// Runs in every GetSSLMode, for example the naming monitor's at the beginning of a round.
    static std::function<void()> onGetSslMode;
};

}  // namespace kelp::test
