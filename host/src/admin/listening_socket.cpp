#include "listening_socket.h"

#include <netdb.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

namespace kelp::host {

namespace {

constexpr int kBacklog = 32;
constexpr int kSocketType = SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK;

[[noreturn]] void fail(const admin::Address& address, const std::string& why) {
    throw std::runtime_error("the operator's interface cannot listen at " + address.text() + ": " +
                             why);
}

[[noreturn]] void failWithErrno(const admin::Address& address) {
    fail(address, std::generic_category().message(errno));
}

/// Remove the socket of a host that has ended. The caller has ensured that no other host uses this
/// folder.
void removeStaleSocket(const admin::Address& address) {
    struct stat status = {};
    if (::lstat(address.socket.c_str(), &status) != 0)
        return;
    if (!S_ISSOCK(status.st_mode))
        fail(address, "something else than a socket is there");
    if (::unlink(address.socket.c_str()) != 0)
        failWithErrno(address);
}

}  // namespace

ListeningSocket::ListeningSocket(const admin::Address& address) : address_(address) {
    address.socket.empty() ? openTcp() : openUnix();
}

ListeningSocket::~ListeningSocket() {
    if (!address_.socket.empty())
        ::unlink(address_.socket.c_str());
}

void ListeningSocket::openUnix() {
    const std::string path = address_.socket.string();
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    if (path.size() >= sizeof name.sun_path)
        fail(address_, "the path is longer than a socket's may be");
    std::copy(path.begin(), path.end(), name.sun_path);
    removeStaleSocket(address_);
    socket_ = util::Descriptor(::socket(AF_UNIX, kSocketType, 0));
    // nobody can connect before the socket listens, and by then it has its mode
    if (!socket_.isOpen() ||
        ::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0 ||
        ::chmod(path.c_str(), S_IRUSR | S_IWUSR) != 0 || ::listen(socket_.get(), kBacklog) != 0)
        failWithErrno(address_);
}

void ListeningSocket::openTcp() {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const std::string port = std::to_string(address_.port);
    if (const int problem = ::getaddrinfo(address_.host.c_str(), port.c_str(), &hints, &found);
        problem != 0)
        fail(address_, ::gai_strerror(problem));
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owned(found, &::freeaddrinfo);
    socket_ = util::Descriptor(::socket(found->ai_family, kSocketType, 0));
    const int on = 1;
    if (!socket_.isOpen() ||
        ::setsockopt(socket_.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        ::bind(socket_.get(), found->ai_addr, found->ai_addrlen) != 0 ||
        ::listen(socket_.get(), kBacklog) != 0)
        failWithErrno(address_);
}

util::Descriptor ListeningSocket::accept() const {
    return util::Descriptor(
        ::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

}  // namespace kelp::host
