#pragma once

#include <kelp/util/export.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace kelp::admin {

/// What requests and answers are made of. Objects keep the order of their members: it counts in the
/// names of TMF 814 objects.
using Json = nlohmann::ordered_json;

/// Raised by a handler to refuse a request: the HTTP status and one sentence for whoever made it.
class KELP_EXPORT RequestError : public std::runtime_error {
  public:
    explicit RequestError(const std::string& why, int status = kBadRequest);
    ~RequestError() override;
    RequestError(const RequestError&) = default;
    RequestError& operator=(const RequestError&) = default;

    int status() const { return status_; }

    static constexpr int kBadRequest = 400;
    static constexpr int kUnavailable = 503;

  private:
    int status_;
};

/// Answers one kind of request. The request is null when it came without a body. Called on threads
/// of the operator's interface, several at a time. What it raises besides RequestError is traced
/// and answered as an internal error.
using Handler = std::function<Json(const Json& request)>;

/// What a request came to: the HTTP status, and the body, which is {"error": "..."} for a failure.
struct KELP_EXPORT Answer {
    int status = 200;
    Json body;
};

class Registration;

/// The requests of the operator's interface: bundles enter what they answer, the host asks. One for
/// the process; any thread may call it.
class KELP_EXPORT Registry {
  public:
    static Registry& instance();

    Registry();
    ~Registry();
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;

    /// From here on `handler` answers requests of that method ("POST") and path ("/alarms"), until
    /// the registration ends. Throws std::invalid_argument when another one does already.
    [[nodiscard]] Registration enter(const std::string& method, const std::string& path,
                                     Handler handler);

    /// Lets the handler answer. `body` is the request's text, empty for none. Text that is no JSON,
    /// one nested deeper than 32 times, an object with a key twice or with more than 1000, a
    /// request that nobody answers and everything that a handler raises become answers too.
    Answer answer(const std::string& method, const std::string& path, const std::string& body);

  private:
    friend class Registration;
    struct State;
    std::shared_ptr<State> state_;
};

/// A handler's time in the registry. Its end, or leave(), returns after calls in progress have
/// ended: the handler is not called afterwards and nothing of it is left, so its library may be
/// unloaded. Not to be ended by the handler itself.
class KELP_EXPORT Registration {
  public:
    Registration() = default;
    Registration(Registration&& other) noexcept = default;
    Registration& operator=(Registration&& other) noexcept;
    ~Registration();

    void leave() noexcept;

  private:
    friend class Registry;
    Registration(std::shared_ptr<Registry::State> registry, std::string method, std::string path);

    std::shared_ptr<Registry::State> registry_;  ///< null: nothing entered
    std::string method_;
    std::string path_;
};

}  // namespace kelp::admin
