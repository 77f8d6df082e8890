#include "nms_peer/commands.h"

#include <kelp/nms/error.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/references.h>
#include <mtnm/emsMgr.h>

#include <exception>
#include <functional>
#include <future>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "support/wire_reference.h"

namespace kelp::test {

namespace {

constexpr int kLogInsAtATime = 8;

std::string textOf(const CountingListener::Counts& counts) {
    std::ostringstream text;
    text << counts.pings << ' ' << counts.ended << ' ' << counts.losses << ' ' << counts.cleared
         << ' ' << counts.startTime << ' ' << counts.notificationId << ' ' << counts.endTime;
    return text.str();
}

std::string textOf(const Chatter::Result& result) {
    return std::to_string(result.calls) + " " + std::to_string(result.failures) + " " +
           std::to_string(result.slowestMs);
}

std::string textOf(const Follower::Result& result) {
    return std::to_string(result.events) + " " + std::to_string(result.repeated) + " " +
           std::to_string(result.late) + " " + std::to_string(result.missing) + " " +
           std::to_string(result.lastId);
}

template <class Duration>
std::string textOf(const std::vector<Duration>& all) {
    std::string text;
    for (const Duration& each : all)
        text += std::to_string(each.count()) + " ";
    return text;
}

std::string managerNames(emsSession::EmsSession_I_ptr session) {
    emsSession::EmsSession_I::managerNames_T_var names;
    session->getSupportedManagers(names.out());
    std::string text;
    for (CORBA::ULong i = 0; i < names->length(); ++i)
        text += std::string(i == 0 ? "" : " ") + names[i].in();
    return text;
}

std::string emsLabel(emsSession::EmsSession_I_ptr session) {
    common::Common_I_var any;
    session->getManager("EMS", any.out());
    const emsMgr::EMSMgr_I_var manager = emsMgr::EMSMgr_I::_narrow(any.in());
    if (CORBA::is_nil(manager.in()))
        throw std::runtime_error("the manager EMS is none");
    emsMgr::EMS_T_var ems;
    manager->getEMS(ems.out());
    return ems->userLabel.in();
}

void setEmsLabel(emsSession::EmsSession_I_ptr session, const std::string& label) {
    common::Common_I_var manager;
    session->getManager("EMS", manager.out());
    globaldefs::NamingAttributes_T name;
    name.length(1);
    name[0].name = "EMS";
    name[0].value = "Kelp/EMS";
    manager->setUserLabel(name, label.c_str(), false);
}

/// Throws on any failure other than a missing object.
std::string exists(emsSession::EmsSession_I_ptr session) {
    try {
        session->ping();
        return "yes";
    } catch (const CORBA::OBJECT_NOT_EXIST&) {
        return "no";
    } catch (const CORBA::OBJ_ADAPTER&) {
        return "no";
    }
}

}  // namespace

Commands::Commands(CORBA::ORB_ptr orb, PortableServer::POA_ptr poa, const std::string& factory,
                   std::size_t endpoints)
    : orb_(CORBA::ORB::_duplicate(orb)),
      poa_(PortableServer::POA::_duplicate(poa)),
      endpoints_(endpoints) {
    const CORBA::Object_var object = orb::toReference(orb, factory);
    factory_ = emsSessionFactory::EmsSessionFactory_I::_unchecked_narrow(object.in());
}

PeerNms& Commands::nms(int number) {
    const std::lock_guard lock(mutex_);
    std::unique_ptr<PeerNms>& found = all_[number];
    if (found == nullptr)
        found = std::make_unique<PeerNms>(orb_.in(), poa_.in(),
                                          static_cast<std::size_t>(number) % endpoints_);
    return *found;
}

void Commands::logInAll(int count, const std::string& user, const std::string& password) {
    std::vector<std::future<void>> workers;
    for (int worker = 0; worker < kLogInsAtATime; ++worker) {
        workers.push_back(std::async(std::launch::async, [&, worker] {
            for (int number = worker; number < count; number += kLogInsAtATime)
                nms(number).logIn(factory_.in(), user, password);
        }));
    }
    for (std::future<void>& worker : workers)
        worker.get();
}

CountingListener::Counts Commands::allCounts() {
    const std::lock_guard lock(mutex_);
    CountingListener::Counts sum;
    for (const auto& [number, one] : all_) {
        const CountingListener::Counts counts = one->listener().counts();
        sum.pings += counts.pings;
        sum.ended += counts.ended;
        sum.losses += counts.losses;
        sum.cleared += counts.cleared;
    }
    return sum;
}

void Commands::follow(int number, std::chrono::milliseconds pause) {
    PeerNms& one = nms(number);
    one.followed() = std::make_unique<Follower>(one.session(), poa_.in(), pause);
}

void Commands::followAt(int number, const std::string& host, std::uint16_t port,
                        const std::string& channel) {
    using CosNotifyChannelAdmin::EventChannel;
    const CORBA::Object_var object = orb::toReference(orb_.in(), channel);
    const CosNotifyChannelAdmin::EventChannel_var reference =
        EventChannel::_unchecked_narrow(object.in());
    nms(number).followed() = std::make_unique<Follower>(
        reference.in(), poa_.in(), std::chrono::milliseconds(0),
        [&](CORBA::Object_ptr told) { return referenceOverTheWire(orb_.in(), told, host, port); });
}

std::string Commands::channelAt(int number, const std::string& host, std::uint16_t port) {
    CosNotifyChannelAdmin::EventChannel_var channel;
    nms(number).session()->getEventChannel(channel.out());
    const CORBA::Object_var there = referenceOverTheWire(orb_.in(), channel.in(), host, port);
    const CORBA::String_var text = orb_->object_to_string(there.in());
    return text.in();
}

Follower::Result Commands::followed(int number) {
    const std::unique_ptr<Follower>& follower = nms(number).followed();
    if (follower == nullptr)
        throw std::runtime_error("this NMS follows no events");
    return follower->result();
}

std::string Commands::carryOut(const std::string& line) {
    std::istringstream in(line);
    std::string command;
    in >> command;
    const auto word = [&in] {
        std::string text;
        in >> text;
        return text;
    };
    const auto number = [&word] { return std::stoi(word()); };
    const auto rest = [&in] {
        std::string text;
        std::getline(in >> std::ws, text);
        return text;
    };

    if (command == "login") {
        PeerNms& one = nms(number());
        const std::string user = word();
        one.logIn(factory_.in(), user, rest());
    } else if (command == "loginwith") {
        PeerNms& one = nms(number());
        const std::string reference = word();
        const std::string user = word();
        one.logIn(factory_.in(), user, rest(), reference);
    } else if (command == "loginall") {
        const int count = number();
        const std::string user = word();
        logInAll(count, user, rest());
    } else if (command == "endall") {
        const std::lock_guard lock(mutex_);
        for (const auto& [key, one] : all_)
            one->session()->endSession();
    } else if (command == "ping") {
        nms(number()).session()->ping();
    } else if (command == "managers") {
        return managerNames(nms(number()).session());
    } else if (command == "ems") {
        return emsLabel(nms(number()).session());
    } else if (command == "label") {
        PeerNms& one = nms(number());
        setEmsLabel(one.session(), rest());
    } else if (command == "end") {
        nms(number()).session()->endSession();
    } else if (command == "has") {
        return exists(nms(number()).session());
    } else if (command == "session") {
        const CORBA::String_var text = orb_->object_to_string(nms(number()).session());
        return text.in();
    } else if (command == "own") {
        return nms(number()).ownReference();
    } else if (command == "knows") {
        const CORBA::Object_var object = orb::toReference(orb_.in(), word());
        const emsSession::EmsSession_I_var session =
            emsSession::EmsSession_I::_unchecked_narrow(object.in());
        return exists(session.in());
    } else if (command == "counts") {
        return textOf(nms(number()).listener().counts());
    } else if (command == "allcounts") {
        return textOf(allCounts());
    } else if (command == "endedonce") {
        const std::lock_guard lock(mutex_);
        int once = 0;
        for (const auto& [key, one] : all_)
            once += one->listener().counts().ended == 1 ? 1 : 0;
        return std::to_string(once);
    } else if (command == "roundgaps") {
        return textOf(nms(number()).listener().roundGaps());
    } else if (command == "hold" || command == "release") {
        nms(number()).listener().hold(command == "hold");
    } else if (command == "follow") {
        const int who = number();
        follow(who, std::chrono::milliseconds(number()));
    } else if (command == "channelat" || command == "followat") {
        const int who = number();
        const std::string host = word();
        const auto port = static_cast<std::uint16_t>(number());
        if (command == "channelat")
            return channelAt(who, host, port);
        followAt(who, host, port, word());
    } else if (command == "unfollow") {
        nms(number()).followed().reset();
    } else if (command == "follows") {
        return textOf(followed(number()));
    } else if (command == "list") {
        ElementLists& lists = nms(number()).lists();
        return lists.carryOut(orb_.in(), in);
    } else if (command == "restless") {
        PeerNms& one = nms(number());
        one.restless() = std::make_unique<Restless>(one.session(), poa_.in());
    } else if (command == "chatter") {
        PeerNms& one = nms(number());
        one.chatter() =
            std::make_unique<Chatter>(one.session(), std::chrono::milliseconds(number()));
    } else if (command == "chattered" || command == "silence" || command == "latencies") {
        std::unique_ptr<Chatter>& chatter = nms(number()).chatter();
        if (chatter == nullptr)
            throw std::runtime_error("this NMS does not chatter");
        if (command == "latencies")
            return textOf(chatter->takeLatencies());
        const std::string text = textOf(chatter->result());
        if (command == "silence")
            chatter.reset();
        return text;
    } else {
        throw std::runtime_error("unknown command");
    }
    return {};
}

std::string Commands::answer(const std::string& line) {
    try {
        const std::string result = carryOut(line);
        return result.empty() ? "ok" : "ok " + result;
    } catch (const globaldefs::ProcessingFailureException& refused) {
        return "failed " + nms::exceptionTypeName(refused.exceptionType) + " " +
               std::string(refused.errorReason.in());
    } catch (const CORBA::Exception& exception) {
        return "failed " + orb::exceptionText(exception);
    } catch (const std::exception& exception) {
        return std::string("failed ") + exception.what();
    }
}

}  // namespace kelp::test
