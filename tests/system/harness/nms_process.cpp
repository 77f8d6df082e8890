#include "harness/nms_process.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <sstream>
#include <stdexcept>

#include "harness/host.h"

namespace kelp::test {

namespace {

constexpr std::chrono::seconds kAnswerDeadline{60};

std::vector<std::string> arguments(const std::string& factoryReference,
                                   std::vector<std::string> ports) {
    ports.insert(ports.begin(), factoryReference);
    return ports;
}

Launch piped(Launch launch) {
    launch.piped = true;
    return launch;
}

std::string numbered(const std::string& command, int nms) {
    return command + " " + std::to_string(nms);
}

/// This product sends arguments without blanks in the calls counted here.
CallbackCounts countsOf(const std::string& answer) {
    CallbackCounts counts;
    std::istringstream in(answer);
    std::string startTime;
    std::string notificationId;
    in >> counts.pings >> counts.ended >> counts.losses >> counts.cleared >> startTime >>
        notificationId >> counts.end;
    counts.loss = startTime + " " + notificationId;
    return counts;
}

ChatterResult chatterOf(const std::string& answer) {
    ChatterResult result;
    std::istringstream(answer) >> result.calls >> result.failures >> result.slowestMs;
    return result;
}

FollowedEvents followedOf(const std::string& answer) {
    FollowedEvents events;
    std::istringstream(answer) >> events.events >> events.repeated >> events.late >>
        events.missing >> events.lastId;
    return events;
}

}  // namespace

NmsProcess::NmsProcess(const Host& host, int ports)
    : NmsProcess(host, host.factoryReference(),
                 std::vector<std::string>(static_cast<std::size_t>(ports), "0")) {}

NmsProcess::NmsProcess(const Host& host, std::uint16_t port)
    : NmsProcess(host, host.factoryReference(), std::vector<std::string>{std::to_string(port)}) {}

NmsProcess::NmsProcess(const Host& host, const std::string& factoryReference)
    : NmsProcess(host, factoryReference, std::vector<std::string>{"0"}) {}

NmsProcess::NmsProcess(const Host& host, const std::string& factoryReference,
                       const std::vector<std::string>& ports)
    : process_(piped(host.launch(NMS_PEER, arguments(factoryReference, ports)))) {
    if (readLine(kAnswerDeadline) != "ready")
        throw std::runtime_error("the NMS process does not start");
}

std::string NmsProcess::readLine(std::chrono::milliseconds deadline) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    std::size_t newline = 0;
    while ((newline = unread_.find('\n')) == std::string::npos) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        pollfd waiting{process_.output(), POLLIN, 0};
        if (left.count() <= 0 || ::poll(&waiting, 1, static_cast<int>(left.count())) == 0)
            throw std::runtime_error("the NMS process does not answer");
        char buffer[4096];
        const ssize_t length = ::read(process_.output(), buffer, sizeof buffer);
        if (length == 0 || (length < 0 && errno != EINTR))
            throw std::runtime_error("the NMS process is gone");
        if (length > 0)
            unread_.append(buffer, static_cast<std::size_t>(length));
    }
    const std::string line = unread_.substr(0, newline);
    unread_.erase(0, newline + 1);
    return line;
}

/// Return the answer after "ok". Throws if the answer is "failed ...".
std::string NmsProcess::ask(const std::string& line) {
    const std::string text = line + "\n";
    if (::write(process_.input(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("the NMS process is gone");
    const std::string answer = readLine(kAnswerDeadline);
    if (answer.rfind("ok", 0) != 0)
        throw std::runtime_error("\"" + line + "\": " + answer);
    return answer.size() > 3 ? answer.substr(3) : "";
}

void NmsProcess::logIn(int nms, const std::string& user) {
    if (const std::string problem = tryLogIn(nms, user, Host::kPassword); !problem.empty())
        throw std::runtime_error(problem);
}

std::string NmsProcess::tryLogIn(int nms, const std::string& user, const std::string& password) {
    try {
        ask(numbered("login", nms) + " " + user + " " + password);
        return {};
    } catch (const std::runtime_error& refused) {
        return refused.what();
    }
}

void NmsProcess::logInWith(int nms, const std::string& user, const std::string& nmsReference) {
    ask(numbered("loginwith", nms) + " " + nmsReference + " " + user + " " + Host::kPassword);
}

void NmsProcess::logInAll(int count, const std::string& user) {
    ask(numbered("loginall", count) + " " + user + " " + Host::kPassword);
}

void NmsProcess::endAll() {
    ask("endall");
}

void NmsProcess::ping(int nms) {
    ask(numbered("ping", nms));
}

std::vector<std::string> NmsProcess::managers(int nms) {
    std::istringstream answer(ask(numbered("managers", nms)));
    std::vector<std::string> names;
    for (std::string name; answer >> name;)
        names.push_back(name);
    return names;
}

std::string NmsProcess::emsLabel(int nms) {
    return ask(numbered("ems", nms));
}

void NmsProcess::end(int nms) {
    ask(numbered("end", nms));
}

bool NmsProcess::hasSession(int nms) {
    return ask(numbered("has", nms)) == "yes";
}

std::string NmsProcess::sessionReference(int nms) {
    return ask(numbered("session", nms));
}

std::string NmsProcess::ownReference(int nms) {
    return ask(numbered("own", nms));
}

bool NmsProcess::knowsSession(const std::string& reference) {
    return ask("knows " + reference) == "yes";
}

CallbackCounts NmsProcess::counts(int nms) {
    return countsOf(ask(numbered("counts", nms)));
}

CallbackCounts NmsProcess::allCounts() {
    return countsOf(ask("allcounts"));
}

int NmsProcess::endedOnce() {
    return std::stoi(ask("endedonce"));
}

void NmsProcess::holdCallbacks(int nms, bool hold) {
    ask(numbered(hold ? "hold" : "release", nms));
}

template <class Duration>
std::vector<Duration> NmsProcess::askForTimes(const std::string& command, int nms) {
    std::istringstream in(ask(numbered(command, nms)));
    std::vector<Duration> all;
    for (typename Duration::rep each = 0; in >> each;)
        all.emplace_back(each);
    return all;
}

std::vector<std::chrono::milliseconds> NmsProcess::roundGaps(int nms) {
    return askForTimes<std::chrono::milliseconds>("roundgaps", nms);
}

void NmsProcess::startChatter(int nms, std::chrono::milliseconds pause) {
    ask(numbered("chatter", nms) + " " + std::to_string(pause.count()));
}

std::vector<std::chrono::microseconds> NmsProcess::takeLatencies(int nms) {
    return askForTimes<std::chrono::microseconds>("latencies", nms);
}

ChatterResult NmsProcess::chatter(int nms) {
    return chatterOf(ask(numbered("chattered", nms)));
}

ChatterResult NmsProcess::stopChatter(int nms) {
    return chatterOf(ask(numbered("silence", nms)));
}

void NmsProcess::follow(int nms, std::chrono::milliseconds pause) {
    ask(numbered("follow", nms) + " " + std::to_string(pause.count()));
}

std::string NmsProcess::channelAt(int nms, const std::string& hostAndPort) {
    return ask(numbered("channelat", nms) + " " + hostAndPort);
}

void NmsProcess::followAt(int nms, const std::string& hostAndPort, const std::string& channel) {
    ask(numbered("followat", nms) + " " + hostAndPort + " " + channel);
}

FollowedEvents NmsProcess::followed(int nms) {
    return followedOf(ask(numbered("follows", nms)));
}

void NmsProcess::unfollow(int nms) {
    ask(numbered("unfollow", nms));
}

void NmsProcess::beRestless(int nms) {
    ask(numbered("restless", nms));
}

}  // namespace kelp::test
