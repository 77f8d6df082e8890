#include "session/memory.h"

#include <fmt/format.h>
#include <kelp/orb/references.h>

#include <chrono>
#include <iostream>
#include <stdexcept>
#include <thread>

#include "common/giop_message.h"
#include "common/process_usage.h"
#include "harness/eventually.h"
#include "session/churn.h"

namespace kelp::bench {

namespace {

constexpr double kMostKib = 64;
constexpr int kShortRoundS = 1;
/// Log-ins before the measurement, because the first log-ins allocate memory that does not belong
/// to their sessions.
constexpr std::size_t kWarmUpLogIns = 10;
/// After two housekeeping rounds, ended sessions have been removed and live ones pinged.
constexpr std::chrono::milliseconds kTwoRounds{2500};

/// Make a connection of one NMS and call its session over it.
test::Socket connectionThatCalled(const Product& product, CORBA::ORB_ptr orb,
                                  emsSession::EmsSession_I_ptr session) {
    orb::ReferenceContent content;
    if (!orb::describe(orb, session, content))
        throw std::runtime_error("a session's reference cannot be read");
    const std::string request = requestMessage(content.objectKey, "ping");
    test::Socket connection = test::connectTo(product.port());
    if (::send(connection.fd(), request.data(), request.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(request.size()))
        throw std::runtime_error("a request could not be sent");
    std::string reply;
    while (messageLength(reply) == 0 || reply.size() < messageLength(reply)) {
        char part[256];
        const ssize_t length = ::recv(connection.fd(), part, sizeof part, 0);
        if (length <= 0)
            throw std::runtime_error("a ping was not answered");
        reply.append(part, static_cast<std::size_t>(length));
    }
    return connection;
}

void endAll(const std::vector<emsSession::EmsSession_I_var>& sessions) {
    for (const emsSession::EmsSession_I_var& session : sessions)
        session->endSession();
}

Figure figureOf(const std::string& name, double kib, std::size_t sessions,
                const std::string& note) {
    Figure figure;
    figure.name = name;
    figure.unit = "KiB";
    figure.value = kib / static_cast<double>(sessions);
    figure.aim = Aim{Aim::Of::Value, Aim::Bound::AtMost, kMostKib};
    figure.note = note;
    return figure;
}

Figure measureSessionsAlone(nms::NmsClient& client, const NmsFarm& farm) {
    const Product product({0, false, kShortRoundS});
    const Ems ems(client, product);
    Churn(ems).logInAndOut(kWarmUpLogIns);
    std::this_thread::sleep_for(kTwoRounds);
    const double before = residentKib(product.pid());
    const auto sessions = ems.logInAll(farm, farm.size());
    std::this_thread::sleep_for(kTwoRounds);
    const double after = residentKib(product.pid());
    endAll(sessions);
    return figureOf(
        "memory a session", after - before, farm.size(),
        fmt::format("{:.0f} KiB before, {:.0f} KiB with {} sessions", before, after, farm.size()));
}

Figure measureSessionsWithConnections(nms::NmsClient& client, const NmsFarm& farm) {
    const Product product({0, true, kShortRoundS});
    const Ems ems(client, product);
    endAll(ems.logInAll(farm, std::min(kWarmUpLogIns, farm.size())));
    std::this_thread::sleep_for(kTwoRounds);
    const std::size_t openBefore = farm.connections();
    const double before = residentKib(product.pid());
    const auto sessions = ems.logInAll(farm, farm.size());
    std::vector<test::Socket> connections;
    for (const emsSession::EmsSession_I_var& session : sessions)
        connections.push_back(connectionThatCalled(product, client.orb(), session.in()));
    const bool pinged = test::eventually([&] { return farm.connections() >= farm.size(); });
    if (!pinged)
        throw std::runtime_error(
            fmt::format("only {} of {} NMS were pinged", farm.connections(), farm.size()));
    std::this_thread::sleep_for(kTwoRounds);
    const double after = residentKib(product.pid());
    endAll(sessions);
    return figureOf(
        "memory a session with its connections", after - before, farm.size(),
        fmt::format(
            "{:.0f} KiB before ({} connections of the EMS open), {:.0f} KiB with {} sessions",
            before, openBefore, after, farm.size()));
}

}  // namespace

std::vector<Figure> measureMemory(nms::NmsClient& client, const Options& options) {
    std::cerr << "memory: " << options.manySessions << " sessions\n";
    const NmsFarm farm(options.manySessions);
    Figure alone = measureSessionsAlone(client, farm);
    return {std::move(alone), measureSessionsWithConnections(client, farm)};
}

}  // namespace kelp::bench
