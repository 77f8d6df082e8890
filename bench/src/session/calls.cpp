#include "session/calls.h"

#include <fmt/format.h>
#include <kelp/orb/references.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <stdexcept>

#include "common/client_threads.h"
#include "common/ems.h"
#include "common/floor.h"
#include "common/nms_farm.h"
#include "common/process_usage.h"
#include "common/product.h"

namespace kelp::bench {

namespace {

constexpr std::size_t kManyConnections = 16;
constexpr double kLeastRatio = 0.90;
constexpr double kLeastRatioOfGate = 0.97;
/// The product and its floors, by their index in the list of servers.
enum Place : std::size_t { TheProduct, OrbTransport, OrbPort, BareOrb, SessionPoas, Places };

struct Server {
    std::string name;
    pid_t pid = 0;
    std::uint16_t port = 0;
    std::vector<emsSession::EmsSession_I_var> sessions;
    std::vector<emsMgr::EMSMgr_I_var> managers;
};

/// The operation to call, and the number of connections.
struct Scenario {
    std::string name;
    std::size_t connections = 1;
    std::function<void(const Server&, std::size_t client)> call;
};

struct Series {
    std::vector<double> callsPerSecond;
    std::vector<double> processorMicroseconds;  ///< the server's processor time for each call
};

void ping(const Server& server, std::size_t client) {
    server.sessions[client]->ping();
}

void getEms(const Server& server, std::size_t client) {
    emsMgr::EMS_T_var ems;
    server.managers[client]->getEMS(ems.out());
}

std::vector<Scenario> scenarios() {
    return {{"session ping, 1 connection", 1, ping},
            {"session ping, 16 connections", kManyConnections, ping},
            {"manager getEMS, 1 connection", 1, getEms},
            {"manager getEMS, 16 connections", kManyConnections, getEms}};
}

std::uint16_t portOf(CORBA::ORB_ptr orb, CORBA::Object_ptr object) {
    orb::ReferenceContent content;
    if (!orb::describe(orb, object, content) || content.endpoints.empty())
        throw std::runtime_error("a reference without an address");
    return content.endpoints.front().port;
}

Server serverOf(CORBA::ORB_ptr orb, const std::string& name, const Floor& floor) {
    Server server{name, floor.pid(), 0, {}, {}};
    for (const std::string& text : floor.sessions()) {
        const CORBA::Object_var object = orb::toReference(orb, text);
        server.sessions.emplace_back(emsSession::EmsSession_I::_narrow(object.in()));
    }
    for (const std::string& text : floor.managers()) {
        const CORBA::Object_var object = orb::toReference(orb, text);
        server.managers.emplace_back(emsMgr::EMSMgr_I::_narrow(object.in()));
    }
    server.port = portOf(orb, server.sessions.front().in());
    return server;
}

Server serverOf(const std::string& name, const Product& product, const Ems& ems,
                const NmsFarm& farm) {
    Server server{name, product.pid(), product.port(), ems.logInAll(farm, farm.size()), {}};
    for (std::size_t client = 0; client < kManyConnections; ++client)
        server.managers.emplace_back(emsManagerOf(server.sessions[client].in()));
    return server;
}

/// Throw unless both servers send the same answer; otherwise they cannot be compared.
void requireSameAnswer(const Server& one, const Server& other) {
    const auto inWords = [](const Server& server) {
        emsMgr::EMS_T_var ems;
        server.managers.front()->getEMS(ems.out());
        std::string words = fmt::format(
            "{}|{}|{}|{}|{}|{}", ems->userLabel.in(), ems->nativeEMSName.in(), ems->owner.in(),
            ems->emsVersion.in(), ems->type.in(), ems->additionalInfo.length());
        for (CORBA::ULong i = 0; i < ems->name.length(); ++i)
            words += fmt::format("|{}={}", ems->name[i].name.in(), ems->name[i].value.in());
        return words;
    };
    if (inWords(one) != inWords(other))
        throw std::runtime_error("the floor answers \"" + inWords(other) + "\", the product \"" +
                                 inWords(one) + "\"");
}

/// Open the connections that the scenario needs and fill the caches.
void warmUp(ClientThreads& clients, const Scenario& scenario, const Server& server,
            const Options& options) {
    constexpr int attempts = 40;
    const auto call = [&](std::size_t client) { scenario.call(server, client); };
    for (int i = 0; i < attempts; ++i) {
        clients.run(scenario.connections, options.slice, call);
        if (connectionsTo(server.port) >= scenario.connections)
            return;
    }
    throw std::runtime_error(fmt::format("{}: only {} connections to the {}", scenario.name,
                                         connectionsTo(server.port), server.name));
}

void measureSlice(ClientThreads& clients, const Scenario& scenario, const Server& server,
                  const Options& options, Series& series) {
    const auto before = processorTime(server.pid);
    const ClientThreads::Count count =
        clients.run(scenario.connections, options.slice,
                    [&](std::size_t client) { scenario.call(server, client); });
    const std::chrono::duration<double, std::micro> used = processorTime(server.pid) - before;
    series.callsPerSecond.push_back(count.perSecond());
    series.processorMicroseconds.push_back(used.count() / static_cast<double>(count.calls));
}

std::vector<double> quotients(const std::vector<double>& values,
                              const std::vector<double>& floors) {
    std::vector<double> all;
    for (std::size_t i = 0; i < values.size(); ++i)
        all.push_back(values[i] / floors[i]);
    return all;
}

Figure figureOf(const std::string& name, const std::string& unit,
                const std::vector<Server>& servers, const std::vector<Series>& series,
                std::vector<double> Series::*values) {
    const auto median = [&](Place place) { return medianOf(series[place].*values); };
    Figure figure;
    figure.name = name;
    figure.unit = unit;
    figure.value = median(TheProduct);
    figure.references = {{servers[BareOrb].name, median(BareOrb)},
                         {servers[OrbPort].name, median(OrbPort)}};
    figure.ratio = spreadOf(quotients(series[TheProduct].*values, series[BareOrb].*values));
    return figure;
}

/// Show what the interceptor and the log cost: in both servers the ORB finds the object in the same
/// way.
Figure besideSamePoas(const std::vector<Server>& servers, const std::vector<Series>& series) {
    Figure figure;
    figure.name = "  beside an ORB with as many POAs";
    figure.unit = "calls/s";
    figure.value = medianOf(series[TheProduct].callsPerSecond);
    figure.references = {{servers[SessionPoas].name, medianOf(series[SessionPoas].callsPerSecond)}};
    figure.ratio =
        spreadOf(quotients(series[TheProduct].callsPerSecond, series[SessionPoas].callsPerSecond));
    figure.aim = Aim{Aim::Of::Ratio, Aim::Bound::AtLeast, kLeastRatio};
    return figure;
}

/// Show what the gate costs: the other server is the same product without the gate.
Figure besideOrbTransport(const std::vector<Server>& servers, const std::vector<Series>& series) {
    Figure figure;
    figure.name = "  through the gate";
    figure.unit = "calls/s";
    figure.value = medianOf(series[TheProduct].callsPerSecond);
    figure.references = {
        {servers[OrbTransport].name, medianOf(series[OrbTransport].callsPerSecond)}};
    figure.ratio =
        spreadOf(quotients(series[TheProduct].callsPerSecond, series[OrbTransport].callsPerSecond));
    figure.aim = Aim{Aim::Of::Ratio, Aim::Bound::AtLeast, kLeastRatioOfGate};
    return figure;
}

std::vector<Figure> measureScenario(ClientThreads& clients, const Scenario& scenario,
                                    const std::vector<Server>& servers, const Options& options) {
    for (const Server& server : servers)
        warmUp(clients, scenario, server, options);
    std::vector<Series> series(servers.size());
    for (std::size_t round = 0; round < options.rounds; ++round) {
        // the servers take turns, and each is first equally often
        for (std::size_t turn = 0; turn < servers.size(); ++turn) {
            const std::size_t place = (round + turn) % servers.size();
            measureSlice(clients, scenario, servers[place], options, series[place]);
        }
    }
    Figure calls = figureOf(scenario.name, "calls/s", servers, series, &Series::callsPerSecond);
    calls.aim = Aim{Aim::Of::Ratio, Aim::Bound::AtLeast, kLeastRatio};
    return {calls, besideSamePoas(servers, series), besideOrbTransport(servers, series),
            figureOf("  server's processor time a call", "us", servers, series,
                     &Series::processorMicroseconds)};
}

}  // namespace

std::vector<Figure> measureCalls(nms::NmsClient& client, const Options& options) {
    const NmsFarm farm(std::max(options.callSessions, kManyConnections));
    const Floor bare(Floor::With::BareOrb, kManyConnections);
    const Floor port(Floor::With::OrbPort, kManyConnections);
    const Floor poas(Floor::With::SessionPoas, kManyConnections, farm.size());
    ProductSettings settings;
    settings.releaseStrategy = options.releaseStrategy;
    const Product product(settings);
    const Ems ems(client, product);
    settings.transport = "orb";
    const Product withoutGate(settings);
    const Ems emsWithoutGate(client, withoutGate);

    std::vector<Server> servers(Places);
    servers[TheProduct] = serverOf("product", product, ems, farm);
    servers[OrbTransport] = serverOf("ORB's transport", withoutGate, emsWithoutGate, farm);
    servers[OrbPort] = serverOf(client.orb(), "ORB port", port);
    servers[BareOrb] = serverOf(client.orb(), "bare ORB", bare);
    servers[SessionPoas] = serverOf(client.orb(), "its POAs", poas);
    requireSameAnswer(servers[TheProduct], servers[OrbTransport]);
    requireSameAnswer(servers[TheProduct], servers[BareOrb]);
    requireSameAnswer(servers[TheProduct], servers[OrbPort]);
    requireSameAnswer(servers[TheProduct], servers[SessionPoas]);
    std::cerr << fmt::format("calls: product {}, ORB port {}, bare ORB {}\n",
                             servers[TheProduct].pid, servers[OrbPort].pid, servers[BareOrb].pid);

    ClientThreads clients(kManyConnections);
    std::vector<Figure> figures;
    for (const Scenario& scenario : scenarios()) {
        std::cerr << "  " << scenario.name << '\n';
        for (Figure& figure : measureScenario(clients, scenario, servers, options))
            figures.push_back(std::move(figure));
    }
    for (const Place place : {TheProduct, OrbTransport})
        for (const emsSession::EmsSession_I_var& session : servers[place].sessions)
            session->endSession();
    return figures;
}

}  // namespace kelp::bench
