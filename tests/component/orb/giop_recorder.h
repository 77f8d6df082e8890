#pragma once

#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "raw_giop.h"
#include "support/wait_until.h"

namespace kelp::test {

/// A server that accepts one connection after the other. It records the octets of every request and
/// answers each with an empty result. It supports only little-endian peers, which all peers on the
/// test machines are.
class GiopRecorder {
  public:
    GiopRecorder() : listener_(boundSocket()), port_(portOf(listener_)) {
        if (::listen(listener_.fd(), 8) != 0)
            throw std::runtime_error("cannot listen");
        thread_ = std::thread([this] { serve(); });
    }
    ~GiopRecorder() {
        ::shutdown(listener_.fd(), SHUT_RDWR);
        {
            const std::lock_guard guard(mutex_);
            ::shutdown(peer_, SHUT_RDWR);
        }
        thread_.join();
    }
    GiopRecorder(const GiopRecorder&) = delete;
    GiopRecorder& operator=(const GiopRecorder&) = delete;

    std::string corbaloc(const std::string& version) const {
        return "corbaloc:iiop:" + version + "@127.0.0.1:" + std::to_string(port_) + "/consumer";
    }
    /// Return the last request as one message, with its fragments joined and with its size and id
    /// set to zero.
    std::string lastRequest() const {
        const std::lock_guard guard(mutex_);
        return last_;
    }
    /// Return the offsets at which the octets of the further fragments begin.
    std::vector<std::size_t> lastFragments() const {
        const std::lock_guard guard(mutex_);
        return lastFragments_;
    }

    /// From now on answer every request with this user exception, which has no members.
    void answerWithException(const std::string& repositoryId) {
        const std::lock_guard guard(mutex_);
        exception_ = repositoryId;
    }

  private:
    static constexpr std::size_t kHeader = 12;

    static bool readExactly(int fd, char* to, std::size_t size) {
        for (std::size_t done = 0; done < size;) {
            const ssize_t count = ::recv(fd, to + done, size - done, 0);
            if (count <= 0)
                return false;
            done += static_cast<std::size_t>(count);
        }
        return true;
    }
    static bool readMessage(int fd, std::string& message) {
        message.assign(kHeader, '\0');
        if (!readExactly(fd, message.data(), kHeader))
            return false;
        std::uint32_t size = 0;
        std::memcpy(&size, message.data() + 8, sizeof size);
        message.resize(kHeader + size);
        return readExactly(fd, message.data() + kHeader, size);
    }
    void serve() {
        for (;;) {
            const Socket peer(::accept(listener_.fd(), nullptr, nullptr));
            if (peer.fd() < 0)
                return;
            {
                const std::lock_guard guard(mutex_);
                peer_ = peer.fd();
            }
            while (answerOne(peer.fd())) {
            }
            const std::lock_guard guard(mutex_);
            peer_ = -1;
        }
    }
    bool answerOne(int fd) {
        std::string request;
        std::string message;
        std::vector<std::size_t> fragments;
        do {
            if (!readMessage(fd, message))
                return false;
            if (!request.empty())
                fragments.push_back(request.size());
            // A fragment continues where the previous one ended. Skip its header and, in GIOP 1.2,
            // the request id.
            request +=
                request.empty() ? message : message.substr(kHeader + (message[5] == 2 ? 4 : 0));
        } while ((message[6] & 2) != 0);
        request.replace(8, 4, 4, '\0');
        request[6] = 1;
        const bool is12 = request[5] == 2;
        const std::size_t numberAt = is12 ? kHeader : kHeader + 4;
        const std::string number = request.substr(numberAt, 4);
        request.replace(numberAt, 4, 4, '\0');
        std::string raised;
        {
            const std::lock_guard guard(mutex_);
            last_ = request;
            lastFragments_ = fragments;
            raised = exception_;
        }
        const std::string none = littleEndian(0);
        const std::string status = littleEndian(raised.empty() ? 0 : 1);
        std::string reply = is12 ? number + status + none : none + number + status;
        if (!raised.empty())
            reply += littleEndian(raised.size() + 1) + raised + '\0';
        sendAll(fd, std::string("GIOP\x01", 5) + request[5] + std::string("\x01\x01", 2) +
                        littleEndian(reply.size()) + reply);
        return true;
    }
    static std::string littleEndian(std::size_t value) {
        const auto narrow = static_cast<std::uint32_t>(value);
        std::string bytes(sizeof narrow, '\0');
        std::memcpy(bytes.data(), &narrow, sizeof narrow);
        return bytes;
    }
    static void sendAll(int fd, const std::string& bytes) {
        (void)::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }

    Socket listener_;
    std::uint16_t port_;
    std::thread thread_;
    mutable std::mutex mutex_;  // guards the following members
    int peer_ = -1;
    std::string last_;
    std::vector<std::size_t> lastFragments_;
    std::string exception_;
};

}  // namespace kelp::test
