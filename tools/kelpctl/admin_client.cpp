#include "admin_client.h"

#include <httplib.h>
#include <kelp/util/json_text.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace kelp::ctl {

namespace {

using admin::Json;

constexpr time_t kConnectSeconds = 5;
constexpr time_t kAnswerSeconds = 25;
constexpr int kAnyPort = 80;  ///< the HTTP library requires a port for a Unix socket too
constexpr int kDone = 200;
const httplib::Headers kHeaders = {{"Host", "localhost"}};

std::string tokenIn(const std::filesystem::path& file) {
    std::ifstream in(file);
    std::string token;
    if (!std::getline(in, token))
        throw std::runtime_error("the token file " + file.string() +
                                 " cannot be read: is kelpd running?");
    return token;
}

httplib::Client clientOf(const admin::Address& address, const std::string& token) {
    const bool isUnix = !address.socket.empty();
    httplib::Client client(isUnix ? address.socket.string() : address.host,
                           isUnix ? kAnyPort : address.port);
    if (isUnix)
        client.set_address_family(AF_UNIX);
    else
        client.set_bearer_token_auth(token);
    client.set_connection_timeout(kConnectSeconds);
    client.set_read_timeout(kAnswerSeconds);
    client.set_write_timeout(kConnectSeconds);
    return client;
}

std::string errorIn(const Json& answer) {
    const bool hasError =
        answer.is_object() && answer.contains("error") && answer["error"].is_string();
    return hasError ? answer["error"].get<std::string>() : "";
}

}  // namespace

AdminClient::AdminClient(admin::Address address) : address_(std::move(address)) {
    // a host that refuses a request may close the connection before it has read the whole request
    ::signal(SIGPIPE, SIG_IGN);
    if (address_.socket.empty())
        token_ = tokenIn(address_.tokenFile);
}

std::string AdminClient::whyUnreachable(httplib::Error error) const {
    if (!address_.socket.empty() && ::access(address_.socket.c_str(), R_OK | W_OK) != 0)
        return std::generic_category().message(errno) +
               "; is it running, with this state directory?";
    if (error == httplib::Error::Connection)
        return "nothing listens there; is it running?";
    return "no answer came (" + httplib::to_string(error) + ")";
}

Json AdminClient::post(const std::string& path, const Json& request) const {
    httplib::Client client = clientOf(address_, token_);
    const std::string body = util::jsonText(request);
    return answerOf(client.Post(path, kHeaders, body, "application/json"));
}

Json AdminClient::get(const std::string& path, const admin::Query& query) const {
    httplib::Client client = clientOf(address_, token_);
    return answerOf(client.Get(path, query, kHeaders));
}

Json AdminClient::remove(const std::string& path, const admin::Query& query) const {
    httplib::Client client = clientOf(address_, token_);
    return answerOf(client.Delete(httplib::append_query_params(path, query), kHeaders));
}

Json AdminClient::answerOf(const httplib::Result& result) const {
    if (!result)
        throw std::runtime_error("kelpd cannot be reached at " + address_.text() + ": " +
                                 whyUnreachable(result.error()));
    Json answer = Json::parse(result->body, nullptr, false);
    if (result->status == kDone && !answer.is_discarded())
        return answer;
    const std::string error = errorIn(answer);
    throw RequestRefused(
        error.empty() ? "kelpd answered with HTTP status " + std::to_string(result->status) : error,
        result->status);
}

}  // namespace kelp::ctl
