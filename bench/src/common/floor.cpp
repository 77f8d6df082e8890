#include "common/floor.h"

#include <unistd.h>

#include <sstream>
#include <stdexcept>

namespace kelp::bench {

namespace {

test::Launch launchOf(Floor::With with, std::size_t objects, std::size_t sessions) {
    test::Launch launch;
    launch.program = FLOOR_SERVER;
    launch.arguments = {std::to_string(objects)};
    if (with == Floor::With::OrbPort)
        launch.arguments.push_back("--with-port");
    if (with == Floor::With::SessionPoas)
        launch.arguments.insert(launch.arguments.end(),
                                {"--session-poas", std::to_string(sessions)});
    launch.output = "/dev/stderr";
    launch.piped = true;
    return launch;
}

/// Read what the server prints until it is ready.
std::string announcement(int pipe) {
    const std::string end = "ready\n";
    std::string text;
    char part[4096];
    while (!text.ends_with(end)) {
        const ssize_t length = ::read(pipe, part, sizeof part);
        if (length <= 0)
            throw std::runtime_error("the floor server does not start");
        text.append(part, static_cast<std::size_t>(length));
    }
    return text.substr(0, text.size() - end.size());
}

}  // namespace

Floor::Floor(With with, std::size_t objects, std::size_t sessions)
    : process_(launchOf(with, objects, sessions)) {
    std::istringstream lines(announcement(process_.output()));
    std::string session;
    std::string manager;
    while (std::getline(lines, session) && std::getline(lines, manager)) {
        sessions_.push_back(session);
        managers_.push_back(manager);
    }
}

}  // namespace kelp::bench
