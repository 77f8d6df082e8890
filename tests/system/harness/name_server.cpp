#include "harness/name_server.h"

#include <stdexcept>

namespace kelp::test {

bool isListening(std::uint16_t port) {
    const Socket probe = tcpSocket();
    const sockaddr_in address = loopbackAddress(port);
    return ::connect(probe.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

NameServer::NameServer() {
    start();
}

void NameServer::restartEmpty() {
    process_.reset();
    start();
}

void NameServer::start() {
    data_.emplace();
    process_.emplace(
        Launch{OMNINAMES,
               {"-start", port_.text(), "-datadir", data_->path().string(), "-nohostname", "-errlog",
                (*data_ / "errors").string(), "-ORBendPoint", "giop:tcp:" + port_.hostAndPort()},
               {},
               *data_ / "output.log",
               false});
    if (!eventually([this] { return isListening(port()); }))
        throw std::runtime_error("the naming service does not start");
}

}  // namespace kelp::test
