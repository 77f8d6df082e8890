#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <string>

namespace kelp::test {

/// Reports alarms of a few objects at the operator's interface, as an adapter outside the host
/// does: a report that was not answered is sent again with the same idempotency key until it is.
/// Used by one thread.
class Adapter {
  public:
    explicit Adapter(std::filesystem::path socket) : socket_(std::move(socket)) {}

    /// Send a report. True if the host has answered that it is durable.
    bool report(int object, const std::string& severity);
    /// Send a report and close the connection without waiting for the answer.
    void reportAndLeave(int object, const std::string& severity);
    /// Send the last report again. True if the host has answered.
    bool repeat();

    /// The severity of each object that is active after the reports that were answered.
    const std::map<std::string, std::string>& active() const { return active_; }

    /// Why the last report was not answered with "done".
    const std::string& whyNot() const { return whyNot_; }

    static std::string nameOf(int object) { return "NE-" + std::to_string(object); }

  private:
    void prepare(int object, const std::string& severity);

    const std::filesystem::path socket_;
    nlohmann::json last_;
    int object_ = 0;
    std::string severity_;
    int reports_ = 0;
    std::map<std::string, std::string> active_;
    std::string whyNot_;
};

}  // namespace kelp::test
