#pragma once

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>

namespace kelp::test {

/// Commands that a test sends to a bundle, line by line, through a FIFO named by an environment
/// variable.
class FifoCommands {
  public:
    /// Run `command` with each line, on a separate thread. False if the FIFO cannot be opened.
    bool start(const char* variable, std::function<void(const std::string&)> command) {
        const char* fifo = std::getenv(variable);
        // open for writing as well: otherwise the end of the last writer reads as end of file
        fifo_ = fifo == nullptr ? -1 : ::open(fifo, O_RDWR | O_NONBLOCK | O_CLOEXEC);
        if (fifo_ < 0)
            return false;
        command_ = std::move(command);
        reader_ = std::thread([this] { read(); });
        return true;
    }
    void stop() {
        stopped_ = true;
        reader_.join();
        ::close(fifo_);
    }

  private:
    static constexpr int kStopCheckMs = 50;

    void read() {
        std::string unread;
        while (!stopped_) {
            pollfd waiting{fifo_, POLLIN, 0};
            char buffer[512];
            if (::poll(&waiting, 1, kStopCheckMs) <= 0)
                continue;
            if (const ssize_t length = ::read(fifo_, buffer, sizeof buffer); length > 0)
                unread.append(buffer, static_cast<std::size_t>(length));
            for (std::size_t end = unread.find('\n'); end != std::string::npos;
                 end = unread.find('\n')) {
                command_(unread.substr(0, end));
                unread.erase(0, end + 1);
            }
        }
    }

    int fifo_ = -1;
    std::function<void(const std::string&)> command_;
    std::atomic<bool> stopped_{false};
    std::thread reader_;
};

}  // namespace kelp::test
