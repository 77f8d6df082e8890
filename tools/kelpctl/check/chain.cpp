#include "check/chain.h"

#include <kelp/nms/client.h>
#include <kelp/nms/event_stream.h>
#include <kelp/orb/references.h>
#include <mtnm/emsMgr.h>

#include <algorithm>
#include <functional>
#include <utility>

#include "check/tcp_probe.h"

namespace kelp::ctl {

namespace {

/// Far more than the answers of these steps need. Longer ones are refused by the ORB.
constexpr std::size_t kMessageBytesMax = 1048576;
/// A real reference has an address for each network of its host.
constexpr std::size_t kEndpointsMax = 8;

/// A consumer that ignores the events that arrive while it is connected.
class IgnoredEvents : public nms::EventListener {
  public:
    void eventCame(const CosNotification::StructuredEvent&) override {}
    void eventsEnded() override {}
};

Cause causeOf(nms::CallFault fault) {
    switch (fault) {
        case nms::CallFault::TimedOut:
            return Cause::NoAnswer;
        case nms::CallFault::UnknownObject:
            return Cause::UnknownObject;
        case nms::CallFault::NoPermission:
            return Cause::Denied;
        case nms::CallFault::WrongObject:
            return Cause::WrongObject;
        case nms::CallFault::Other:
            break;
    }
    return Cause::Other;
}

/// Run calls to the peer at `address`. Throws StepFailed in place of the library's exceptions.
std::string calling(const std::string& address, const std::function<std::string()>& calls) {
    try {
        return calls();
    } catch (const nms::CannotListen& failure) {
        throw StepFailed({Cause::NotStarted, address, failure.what()});
    } catch (const nms::NotRegistered& failure) {
        throw StepFailed({Cause::NotBound, address, failure.what()});
    } catch (const nms::Unreachable& failure) {
        throw StepFailed({causeOf(failure.fault()), address, failure.what()});
    } catch (const nms::LoginRefused& failure) {
        throw StepFailed({Cause::Denied, address, failure.errorReason()});
    } catch (const nms::CallFailed& failure) {
        throw StepFailed({causeOf(failure.fault()), address, failure.what()});
    } catch (const nms::NmsError& failure) {
        throw StepFailed({Cause::Other, address, failure.what()});
    } catch (const CORBA::Exception& failure) {
        throw StepFailed({causeOf(nms::faultOf(failure)), address, failure._name()});
    }
}

/// Connect to an address. Return the address of this machine on the way there.
std::string reach(const orb::Endpoint& endpoint, std::chrono::milliseconds limit) {
    const ProbeResult result = probe(endpoint.host, endpoint.port, limit);
    if (!result.failure)
        return result.localHost;
    const bool isNameless = *result.failure == Cause::UnknownHost;
    throw StepFailed(
        {*result.failure, isNameless ? endpoint.host : orb::hostAndPort(endpoint), result.reason});
}

nms::NmsSettings settingsOf(const CheckTarget& target, const std::optional<CheckTls>& tls) {
    nms::NmsSettings settings;
    settings.naming = std::string(target.overTls ? "corbaloc:ssliop:1.2@" : "corbaloc:iiop:1.2@") +
                      orb::hostAndPort({target.namingHost, target.namingPort, target.overTls}) +
                      "/NameService";
    settings.timeout = target.limit;
    settings.messageBytesMax = kMessageBytesMax;
    if (tls)
        settings.tls = nms::NmsTls{tls->authorities, tls->keyFile, tls->keyPassword.text(),
                                   tls->checksName, tls->serverName};
    return settings;
}

}  // namespace

/// The session is destroyed before the client that it belongs to.
struct Chain::State {
    CheckTarget target;
    util::Secret password;
    nms::NmsSettings settings;
    std::string localHost;   ///< where the client listens
    std::string routedHost;  ///< this machine's address on the way to the factory
    std::vector<orb::Endpoint> endpoints{};
    std::string factoryAddress{};
    std::unique_ptr<nms::NmsClient> client{};
    nms::FoundFactory factory{};
    std::unique_ptr<nms::NmsSession> session{};

    std::string namingAddress() const {
        return orb::hostAndPort({target.namingHost, target.namingPort, target.overTls});
    }
    /// Start the client anew, listening on this address. The EMS refuses an NMS that wants to be
    /// called at another address than it calls from.
    void listenOn(const std::string& host) {
        client.reset();
        localHost = host;
        settings.listen = orb::hostAndPort({host, 0, false});
        client = std::make_unique<nms::NmsClient>(settings);
    }
};

Chain::Chain(const CheckTarget& target, util::Secret password, const std::optional<CheckTls>& tls)
    : state_(new State{.target = target,
                       .password = std::move(password),
                       .settings = settingsOf(target, tls),
                       .localHost = {},
                       .routedHost = {}}) {}

Chain::~Chain() = default;

std::string Chain::askNaming() {
    State& all = *state_;
    const std::string localHost =
        reach({all.target.namingHost, all.target.namingPort, all.target.overTls}, all.target.limit);
    return calling(all.namingAddress(), [&] {
        all.listenOn(localHost);
        all.client->requireNaming();
        return all.namingAddress();
    });
}

std::string Chain::resolveEntry() {
    State& all = *state_;
    return calling(all.namingAddress(), [&] {
        orb::ReferenceContent content;
        if (!orb::decodeReference(all.client->referenceAt(all.target.path), content))
            throw StepFailed(
                {Cause::WrongObject, all.namingAddress(), "it is malformed or too long"});
        std::copy_if(content.endpoints.begin(), content.endpoints.end(),
                     std::back_inserter(all.endpoints),
                     [&](const orb::Endpoint& each) { return each.tls == all.target.overTls; });
        return all.target.path;
    });
}

std::string Chain::connectToFactory() {
    State& all = *state_;
    if (all.endpoints.empty())
        throw StepFailed({Cause::NoAddress, {}, "no address in the reference"});
    const std::size_t count = std::min(all.endpoints.size(), kEndpointsMax);
    for (std::size_t i = 0; i < count; ++i) {
        try {
            all.routedHost =
                reach(all.endpoints[i], all.target.limit / static_cast<std::int64_t>(count));
            all.factoryAddress = orb::hostAndPort(all.endpoints[i]);
            return all.factoryAddress;
        } catch (const StepFailed&) {
            if (i + 1 == count)
                throw;
        }
    }
    return {};
}

std::string Chain::askFactory() {
    State& all = *state_;
    return calling(all.factoryAddress, [&] {
        if (all.routedHost != all.localHost)
            all.listenOn(all.routedHost);
        all.factory = all.client->findFactory(all.target.path);
        return "version " + all.client->interfaceVersion(all.factory);
    });
}

std::string Chain::logIn() {
    State& all = *state_;
    return calling(all.factoryAddress, [&] {
        all.session = all.client->logIn(all.factory, all.target.user, all.password.text());
        return all.target.user;
    });
}

std::string Chain::askManager() {
    State& all = *state_;
    return calling(all.factoryAddress, [&] {
        const emsMgr::EMSMgr_I_var manager = all.session->managerAs<emsMgr::EMSMgr_I>("EMS");
        emsMgr::EMS_T_var ems;
        nms::NmsSession::call("getEMS", [&] { manager->getEMS(ems.out()); });
        return "EMS " + std::string(ems->nativeEMSName.in()) + ", version " +
               std::string(ems->emsVersion.in());
    });
}

std::string Chain::connectConsumer() {
    State& all = *state_;
    return calling(all.factoryAddress, [&] {
        const nms::EventStream stream(*all.session, all.client->rootPoa(), {},
                                      std::make_shared<IgnoredEvents>());
        return std::string("a consumer was connected and disconnected");
    });
}

std::string Chain::logOut() {
    State& all = *state_;
    return calling(all.factoryAddress, [&] {
        all.session->end();
        if (!all.session->isGone(all.target.limit / 2))
            throw StepFailed(
                {Cause::StillThere, all.factoryAddress, "the session exists after the log-out"});
        return std::string("the session is gone");
    });
}

std::vector<StepPlan> stepsOf(const std::shared_ptr<Chain>& chain, const CheckTarget& target) {
    const std::string naming =
        orb::hostAndPort({target.namingHost, target.namingPort, target.overTls});
    const auto step = [&chain](std::string (Chain::*make)()) {
        return [chain, make] { return ((*chain).*make)(); };
    };
    std::vector<StepPlan> plan = {
        {Step::Naming, Step::Naming, step(&Chain::askNaming), naming},
        {Step::Entry, Step::Naming, step(&Chain::resolveEntry), naming},
        {Step::Address, Step::Entry, step(&Chain::connectToFactory),
         "a host that could not be looked up or reached in time"},
        {Step::Factory, Step::Address, step(&Chain::askFactory), "the address of the naming entry"},
        {Step::LogIn, Step::Factory, step(&Chain::logIn)},
        {Step::Manager, Step::LogIn, step(&Chain::askManager)},
        {Step::Channel, Step::LogIn, step(&Chain::connectConsumer)},
        {Step::LogOut, Step::LogIn, step(&Chain::logOut)},
    };
    if (target.user.empty()) {
        for (StepPlan& each : plan) {
            if (each.step >= Step::LogIn)
                each.action = nullptr;
        }
    }
    return plan;
}

}  // namespace kelp::ctl
