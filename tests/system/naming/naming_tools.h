#pragma once

#include <kelp/orb/orb.h>
#include <kelp/orb/references.h>
#include <kelp/orb/timeouts.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "harness/host.h"

namespace kelp::test {

/// Return an ORB of the test's process, a stranger to the host.
inline CORBA::ORB_ptr testOrb() {
    static const CORBA::ORB_var orb = [] {
        orb::OrbOptions options;
        options.listen = {"127.0.0.1:0"};
        const CORBA::ORB_var made = orb::start(options, nullptr);
        orb::setProcessTimeout(std::chrono::seconds(2));
        return made;
    }();
    return orb.in();
}

inline std::string textOf(CORBA::Object_ptr object) {
    const CORBA::String_var text = testOrb()->object_to_string(object);
    return text.in();
}

/// Return the output of kelpctl for a host with these arguments.
inline std::string printedBy(const Host& host, std::vector<std::string> arguments) {
    static int runs = 0;
    arguments.insert(arguments.begin(), {"--config", host.configFile().string()});
    Launch launch = host.launch(KELPCTL, arguments);
    launch.output = host.scratch("kelpctl" + std::to_string(++runs));
    if (runToEnd(launch) != 0)
        return {};
    return contentOf(launch.output);
}

/// Return the output of `kelpctl naming --json`; empty if it fails.
inline nlohmann::json namingOf(const Host& host) {
    nlohmann::json naming =
        nlohmann::json::parse(printedBy(host, {"naming", "--json"}), nullptr, false);
    return naming.is_object() ? naming : nlohmann::json::object();
}

}  // namespace kelp::test
