#include "common/nms_farm.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <iostream>
#include <stdexcept>

#include "common/giop_message.h"

namespace kelp::bench {

NmsFarm::NmsFarm(std::size_t size)
    : poll_(::epoll_create1(EPOLL_CLOEXEC)), stop_(::eventfd(0, EFD_CLOEXEC)) {
    watch(stop_.fd());
    for (std::size_t i = 0; i < size; ++i) {
        test::Socket listener = test::boundSocket();
        const int fd = listener.fd();
        if (::listen(fd, 8) != 0)
            throw std::runtime_error("cannot listen");
        addresses_.push_back("127.0.0.1:" + std::to_string(test::portOf(listener)));
        listeners_.emplace(fd, std::move(listener));
        watch(fd);
    }
    thread_ = std::thread([this] { run(); });
}

NmsFarm::~NmsFarm() {
    ::eventfd_write(stop_.fd(), 1);
    thread_.join();
}

void NmsFarm::watch(int fd) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    if (::epoll_ctl(poll_.fd(), EPOLL_CTL_ADD, fd, &event) != 0)
        throw std::runtime_error("cannot watch a socket");
}

void NmsFarm::run() {
    try {
        epoll_event events[64];
        for (;;) {
            const int count = ::epoll_wait(poll_.fd(), events, 64, -1);
            for (int i = 0; i < count; ++i) {
                const int fd = events[i].data.fd;
                if (fd == stop_.fd())
                    return;
                if (listeners_.contains(fd))
                    accept(fd);
                else
                    serve(fd);
            }
        }
    } catch (const std::exception& failure) {
        std::cerr << "the NMS answer no more: " << failure.what() << '\n';
    }
}

void NmsFarm::accept(int listener) {
    test::Socket socket(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
    const int fd = socket.fd();
    if (fd < 0)
        return;
    connections_[fd].socket = std::move(socket);
    watch(fd);
    connectionCount_ = connections_.size();
}

void NmsFarm::serve(int fd) {
    Connection& connection = connections_.at(fd);
    char part[4096];
    const ssize_t length = ::recv(fd, part, sizeof part, 0);
    if (length <= 0) {
        connections_.erase(fd);
        connectionCount_ = connections_.size();
        return;
    }
    std::string& unread = connection.unread;
    unread.append(part, static_cast<std::size_t>(length));
    for (;;) {
        const std::size_t whole = messageLength(unread);
        if (whole == 0 || unread.size() < whole)
            return;
        const std::string reply = replyTo(unread.substr(0, whole));
        unread.erase(0, whole);
        if (reply.empty())
            continue;
        ::send(fd, reply.data(), reply.size(), MSG_NOSIGNAL);
        ++answered_;
    }
}

}  // namespace kelp::bench
