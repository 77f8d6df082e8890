#include "alarms/raw_consumer.h"

#include <iostream>
#include <stdexcept>
#include <string_view>

#include "alarms/pushed_alarms.h"
#include "alarms/request_reader.h"
#include "common/giop_message.h"
#include "unit/orb/hand_made_reference.h"

namespace kelp::bench {

namespace {

constexpr int kEndCheckMs = 100;
constexpr std::size_t kReceiveOctets = 256 << 10;

test::Socket listening() {
    test::Socket made = test::boundSocket();
    if (::listen(made.fd(), 8) != 0)
        throw std::runtime_error("cannot listen");
    return made;
}

std::string referenceAt(std::uint16_t port) {
    test::Iiop iiop;
    iiop.host = "127.0.0.1";
    iiop.port = port;
    return test::hexReference(test::referenceBytes(
        {{0, test::iiopProfile(iiop)}}, "IDL:omg.org/CosNotifyComm/SequencePushConsumer:1.0"));
}

void answer(int connection, const std::string& reply) {
    if (::send(connection, reply.data(), reply.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(reply.size()))
        throw std::runtime_error("cannot answer");
}

bool isReadable(int fd) {
    pollfd waiting{fd, POLLIN, 0};
    return ::poll(&waiting, 1, kEndCheckMs) > 0;
}

}  // namespace

RawConsumer::RawConsumer(EventTally& tally)
    : tally_(tally), listener_(listening()), reference_(referenceAt(test::portOf(listener_))) {
    thread_ = std::thread([this] { run(); });
}

RawConsumer::~RawConsumer() {
    isEnding_ = true;
    thread_.join();
}

void RawConsumer::run() {
    while (!isEnding_) {
        if (!isReadable(listener_.fd()))
            continue;
        const test::Socket connection(::accept4(listener_.fd(), nullptr, nullptr, SOCK_CLOEXEC));
        if (connection.fd() < 0)
            continue;
        try {
            serve(connection.fd());
        } catch (const std::exception& failure) {
            std::cerr << "alarm_bench_consumer: " << failure.what() << '\n';
        }
    }
}

void RawConsumer::serve(int connection) {
    RequestReader reader;
    std::string received(kReceiveOctets, '\0');
    while (!isEnding_) {
        if (!isReadable(connection))
            continue;
        const ssize_t length = ::recv(connection, received.data(), received.size(), 0);
        if (length <= 0)
            return;
        reader.add(std::string_view(received).substr(0, static_cast<std::size_t>(length)));
        for (std::string request; reader.next(request);) {
            count(request);
            answer(connection, replyTo(request));
        }
    }
}

void RawConsumer::count(const std::string& request) {
    const std::string operation = operationOf(request);
    if (operation == "push_structured_events") {
        for (const PushedAlarm& alarm : alarmsIn(request))
            tally_.count(alarm.notificationId, alarm.sent);
    } else if (operation != "offer_change" && operation != "disconnect_sequence_push_consumer") {
        throw std::runtime_error("unexpected call of " + operation);
    }
}

}  // namespace kelp::bench
