#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string>

namespace kelp::bench {

/// Posts alarms to a host's operator interface, as an adapter outside the host does. One thread at
/// a time may use it.
class AlarmPoster {
  public:
    explicit AlarmPoster(std::filesystem::path socket) : socket_(std::move(socket)) {}

    /// Raise or clear the alarms of the objects from `first`, all in one request. Returns when they
    /// are durable. Throws std::runtime_error when the host refuses them, or when one is not a
    /// change of its list.
    void post(std::size_t first, std::size_t count, bool isRaise) const;

  private:
    const std::filesystem::path socket_;
};

/// What postSteadily() has posted.
struct Posted {
    std::size_t alarms = 0;
    std::chrono::duration<double> took{};
    double perSecond() const { return static_cast<double>(alarms) / took.count(); }
};

/// How alarms are posted at an even rate.
struct Pace {
    std::size_t perSecond = 0;
    std::size_t alarmsAPost = 0;
    std::size_t posters = 4;  ///< concurrent requests at most
    std::chrono::seconds length{};
};

/// Post alarms at this pace: each request raises the alarms of some objects, and the poster's next
/// one clears them. Each alarm is raised so rarely that it does not count as flapping. A poster
/// that is late posts without pause until it is on time.
Posted postSteadily(const std::filesystem::path& socket, const Pace& pace);

/// Raise `count` alarms and leave them active.
void fillList(const std::filesystem::path& socket, std::size_t count);

}  // namespace kelp::bench
