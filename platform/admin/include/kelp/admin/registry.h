#pragma once

#include <kelp/util/export.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace kelp::admin {

/// Requests and answers. Objects keep the order of their members, which matters in the names of TMF
/// 814 objects.
using Json = nlohmann::ordered_json;

/// A handler throws this to refuse a request, with the HTTP status and one sentence for the caller.
class KELP_EXPORT RequestError : public std::runtime_error {
  public:
    /// `path` is a JSON pointer to the wrong value in the request, such as "/1/layerRate".
    explicit RequestError(const std::string& why, int status = kBadRequest, std::string path = {});
    ~RequestError() override;
    RequestError(const RequestError&) = default;
    RequestError& operator=(const RequestError&) = default;

    int status() const { return status_; }
    const std::string& path() const { return path_; }

    static constexpr int kBadRequest = 400;
    static constexpr int kNotFound = 404;
    static constexpr int kConflict = 409;
    static constexpr int kGone = 410;
    static constexpr int kUnavailable = 503;

  private:
    int status_;
    std::string path_;
};

/// Answers one kind of request. The request is null if it has no body. Called on threads of the
/// operator interface, possibly several at a time. Any exception other than RequestError is traced
/// and becomes an internal error.
using Handler = std::function<Json(const Json& request)>;

/// The parameters of a request's query, decoded, in the order of their names. A name may repeat.
using Query = std::multimap<std::string, std::string>;

/// A request with more than a body.
struct KELP_EXPORT Request {
    /// The last component of the path, where the handler's path ends in "*".
    std::string item;
    /// The parameters of the query by name, each once. Only those that the handler knows.
    std::map<std::string, std::string> parameters;
    Json body;  ///< null if there is none
};

/// As Handler, for requests with parameters or for many paths.
using RequestHandler = std::function<Json(const Request& request)>;

/// As Handler, for a request whose answer is a text.
using TextHandler = std::function<std::string()>;

/// The answer to a request: the HTTP status, and the body, which for a failure is {"error":
/// "..."}, with "path" if the RequestError has one.
struct KELP_EXPORT Answer {
    int status = 200;
    Json body;
    /// Of an answer that is not JSON, whose body is a text. Otherwise empty.
    std::string contentType{};
};

/// A request that has a handler.
struct KELP_EXPORT KnownRequest {
    std::string method;
    std::string path;  ///< may end in "*"
    std::set<std::string> parameters;
};

class Registration;

/// The requests of the operator interface. Bundles register handlers, and the host calls answer().
/// There is one registry for the process. Any thread may call it.
class KELP_EXPORT Registry {
  public:
    static Registry& instance();

    Registry();
    ~Registry();
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;

    /// Let `handler` answer requests with this method ("POST") and path ("/alarms") until the
    /// registration ends. Throws std::invalid_argument if there is another handler for them.
    [[nodiscard]] Registration enter(const std::string& method, const std::string& path,
                                     Handler handler);

    /// As above, for requests whose query may have these parameters. A path that ends in "/*"
    /// stands for all paths with another last component, except those that have a handler for the
    /// method.
    [[nodiscard]] Registration enter(const std::string& method, const std::string& path,
                                     std::set<std::string> parameters, RequestHandler handler);

    /// Let `handler` answer GET requests with this path with a text of the type `contentType`, such
    /// as "text/plain", until the registration ends. As above otherwise.
    [[nodiscard]] Registration enterText(const std::string& path, std::string contentType,
                                         TextHandler handler);

    /// Answer a request. `body` is the request's text, which may be empty. These also result in an
    /// answer: invalid JSON, JSON nested deeper than 32 levels, an object that repeats a key or has
    /// more than 1000 keys, a parameter that repeats or that the handler does not know, a request
    /// without a handler, and anything that a handler throws.
    Answer answer(const std::string& method, const std::string& path, const std::string& body,
                  const Query& query = {});

    /// The requests that have a handler now, in the order of their paths and methods.
    std::vector<KnownRequest> known() const;

  private:
    friend class Registration;
    struct State;
    std::shared_ptr<State> state_;
};

/// A handler's entry in the registry. The destructor and leave() return after the calls in progress
/// have ended. The handler is not called afterwards and has been destroyed, so its library may be
/// unloaded. The handler must not end its own registration.
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

    std::shared_ptr<Registry::State> registry_;  ///< null: not registered
    std::string method_;
    std::string path_;
};

}  // namespace kelp::admin
