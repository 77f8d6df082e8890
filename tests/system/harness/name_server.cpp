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

NameServer::NameServer(const std::string& caFile, const std::string& keyFile)
    : caFile_(caFile), keyFile_(keyFile) {
    start();
}

void NameServer::restartEmpty() {
    process_.reset();
    start();
}

void NameServer::start() {
    data_.emplace();
    const bool isTls = !caFile_.empty();
    Launch launch{OMNINAMES,
                  {"-start", port_.text(), "-datadir", data_->path().string(), "-nohostname",
                   "-errlog", (*data_ / "errors").string(), "-ORBendPoint",
                   (isTls ? "giop:ssl:" : "giop:tcp:") + port_.hostAndPort()},
                  {},
                  *data_ / "output.log",
                  false};
    if (isTls) {
        launch.environment = {{"LD_PRELOAD", "libomnisslTP4.so.2"}};
        launch.arguments.insert(launch.arguments.end(), {"-ORBsslCAFile", caFile_, "-ORBsslKeyFile",
                                                         keyFile_, "-ORBsslKeyPassword", "none"});
    }
    process_.emplace(launch);
    if (!eventually([this] { return isListening(port()); }))
        throw std::runtime_error("the naming service does not start");
}

}  // namespace kelp::test
