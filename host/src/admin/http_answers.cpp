#include "http_answers.h"

#include <kelp/util/json_text.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <charconv>
#include <set>
#include <string_view>
#include <utility>

#include "page/page_files.h"

namespace kelp::host {

namespace {

using httplib::Request;
using httplib::Response;

constexpr const char* kJson = "application/json";
/// Far longer than any path in use. Limited because the library matches paths by recursion.
constexpr std::size_t kPathBytesMax = 256;
/// Maximum length of a parameter's name in a refusal.
constexpr std::size_t kNameBytesMax = 100;

enum Status : int {
    kOk = 200,
    kBadRequest = 400,
    kUnauthorized = 401,
    kForbidden = 403,
    kNotAllowed = 405,
    kLengthRequired = 411,
    kTooLarge = 413,
    kPathTooLong = 414,
    kUnsupportedMedia = 415,
    kTooMany = 429,
};

void set(Response& response, int status, const admin::Json& body) {
    response.status = status;
    // the body may contain text of the peer that is not UTF-8
    response.set_content(util::jsonText(body) + "\n", kJson);
}

void refuse(Response& response, int status, const std::string& why) {
    set(response, status, {{"error", why}});
}

/// Return the length of the body: 0 without a body, UINT64_MAX when the header is not a valid
/// number.
std::uint64_t bodyLength(const Request& request) {
    const std::string text = request.get_header_value("Content-Length");
    std::uint64_t length = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return text.empty() ? 0 : isNumber ? length : UINT64_MAX;
}

bool isJson(const Request& request) {
    const std::string type = request.get_header_value("Content-Type");
    return std::string_view(type).substr(0, type.find(';')) == kJson;
}

/// The first piece of the query that appears twice; empty if there is none. The library keeps only
/// one of two equal pieces.
std::string_view repeatedPiece(std::string_view target) {
    const std::size_t mark = target.find('?');
    std::string_view rest = mark == std::string_view::npos ? "" : target.substr(mark + 1);
    std::set<std::string_view> seen;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('&'), rest.size());
        if (end > 0 && !seen.insert(rest.substr(0, end)).second)
            return rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return {};
}

bool isReading(const Request& request) {
    return request.method == "GET" || request.method == "HEAD";
}

void refuseAdmission(Response& response, Admission admission, AdminTransport transport) {
    if (admission == Admission::TooOften) {
        response.set_header("Retry-After", "12");
        return refuse(response, kTooMany, "too many wrong passwords; try again later");
    }
    if (transport != AdminTransport::Network)
        return refuse(response, kUnauthorized,
                      "the token is missing or wrong (Authorization: Bearer TOKEN)");
    response.set_header("WWW-Authenticate", "Basic realm=\"EMS\", charset=\"UTF-8\"");
    refuse(response, kUnauthorized, "an operator's name and password are needed");
}

/// The file of the status page that the request asks for, or null.
const PageFile* pageFileOf(const Request& request) {
    return isReading(request) ? pageFileAt(request.path) : nullptr;
}

void answerWith(const PageFile& file, const Request& request, Response& response) {
    if (!request.params.empty())
        return refuse(response, kBadRequest, "the status page has no parameters");
    response.status = kOk;
    response.set_content(file.content.data(), file.content.size(), std::string(file.type));
}

/// Fill in the answer to a request that the library refused.
void explain(const Request&, Response& response) {
    if (response.body.empty())
        refuse(response, response.status,
               response.status == kBadRequest ? "the request cannot be read as HTTP"
                                              : "the request is refused");
}

}  // namespace

bool isPageFile(const Request& request) {
    return pageFileOf(request) != nullptr;
}

HttpAnswers::HttpAnswers(admin::Registry& registry, Rules rules)
    : registry_(registry), rules_(std::move(rules)) {
    set_payload_max_length(rules_.bodyBytesMax);
    set_pre_routing_handler(
        [this](const Request& request, Response& response) { return admit(request, response); });
    set_error_handler(explain);
    set_default_headers(headersForBrowsers());
    const Handler any = [this](const Request& request, Response& response) {
        answer(request, response);
    };
    const std::string everyPath = ".*";
    Get(everyPath, any).Post(everyPath, any).Put(everyPath, any).Patch(everyPath, any);
    Delete(everyPath, any).Options(everyPath, any);
}

void HttpAnswers::serve(Connection& connection) {
    constexpr bool kCloseAfterwards = true;
    bool isClosed = false;
    process_request(connection, kCloseAfterwards, isClosed, {});
}

/// Called before the body is read, so that a refused request costs no more than its head.
HttpAnswers::HandlerResponse HttpAnswers::admit(const Request& request, Response& response) const {
    const std::uint64_t length = bodyLength(request);
    if (request.path.size() > kPathBytesMax)
        refuse(response, kPathTooLong, "the path is too long");
    else if (const std::string sign = signOfForeignPage(request, rules_.transport); !sign.empty())
        refuse(response, kForbidden, sign);
    else if (rules_.readsOnly && !isReading(request))
        refuse(response, kNotAllowed, "over the network the interface can only be read");
    else if (const Admission admission = rules_.admits(request); admission != Admission::Admitted)
        refuseAdmission(response, admission, rules_.transport);
    else if (request.has_header("Transfer-Encoding"))
        refuse(response, kLengthRequired, "a body needs a Content-Length");
    else if (length > rules_.bodyBytesMax)
        refuse(response, kTooLarge,
               "the body is longer than " + std::to_string(rules_.bodyBytesMax) + " bytes");
    else if (length > 0 && (request.has_header("Content-Encoding") || !isJson(request)))
        refuse(response, kUnsupportedMedia, std::string("the body must be plain ") + kJson);
    else
        return HandlerResponse::Unhandled;
    return HandlerResponse::Handled;
}

void HttpAnswers::answer(const Request& request, Response& response) const {
    if (const std::string_view piece = repeatedPiece(request.target); !piece.empty()) {
        const std::string name(piece.substr(0, piece.find('=')));
        return refuse(response, kBadRequest,
                      "the parameter \"" + util::escaped(name, kNameBytesMax) + "\" appears twice");
    }
    if (const PageFile* const file = pageFileOf(request); file != nullptr)
        return answerWith(*file, request, response);
    const admin::Answer made =
        registry_.answer(request.method, request.path, request.body, request.params);
    if (made.contentType.empty())
        return set(response, made.status, made.body);
    response.status = made.status;
    response.set_content(made.body.get<std::string>(), made.contentType);
}

}  // namespace kelp::host
