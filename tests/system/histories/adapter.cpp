#include "adapter.h"

#include <httplib.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>

#include "support/tcp_peers.h"

namespace kelp::test {

namespace {

constexpr int kAnyPort = 80;  // the HTTP library requires a port for a Unix socket too
constexpr int kDone = 200;
constexpr time_t kAnswerSeconds = 20;

}  // namespace

void Adapter::prepare(int object, const std::string& severity) {
    object_ = object;
    severity_ = severity;
    const nlohmann::json alarm = {
        {"objectName", {{"EMS", "Kelp/EMS"}, {"ManagedElement", nameOf(object)}}},
        {"probableCause", "LOS"},
        {"perceivedSeverity", severity}};
    last_ = {{"idempotencyKey", "report " + std::to_string(++reports_)},
             {"alarms", nlohmann::json::array({alarm})}};
}

bool Adapter::report(int object, const std::string& severity) {
    prepare(object, severity);
    return repeat();
}

bool Adapter::repeat() {
    if (last_.is_null())
        return true;
    httplib::Client client(socket_.string(), kAnyPort);
    client.set_address_family(AF_UNIX);
    client.set_read_timeout(kAnswerSeconds);
    const httplib::Result result =
        client.Post("/alarms", {{"Host", "localhost"}}, last_.dump(), "application/json");
    whyNot_ = result ? result->body : httplib::to_string(result.error());
    if (!result || result->status != kDone)
        return false;
    if (severity_ == "PS_CLEARED")
        active_.erase(nameOf(object_));
    else
        active_[nameOf(object_)] = severity_;
    return true;
}

void Adapter::reportAndLeave(int object, const std::string& severity) {
    prepare(object, severity);
    const Socket socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    std::strncpy(name.sun_path, socket_.c_str(), sizeof name.sun_path - 1);
    if (::connect(socket.fd(), reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0)
        return;
    const std::string body = last_.dump();
    const std::string request =
        "POST /alarms HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
        "Content-Length: " +
        std::to_string(body.size()) + "\r\n\r\n" + body;
    // whether it arrives does not matter
    static_cast<void>(::send(socket.fd(), request.data(), request.size(), MSG_NOSIGNAL));
}

}  // namespace kelp::test
