#include "alarms/pushed_alarms.h"

#include <kelp/ior/cdr_reader.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "alarms/octets.h"
#include "alarms/stamp.h"
#include "giop/request_header.h"

namespace kelp::bench {

namespace {

using ior::CdrReader;

// the names with the zero byte that ends them in CDR
constexpr std::string_view kIdName("notificationId", sizeof "notificationId");
constexpr std::string_view kTextName("additionalText", sizeof "additionalText");
constexpr std::uint32_t kStringCode = 18;  // tk_string

orb::giop::RequestHeader requestHeaderOf(const std::string& request) {
    orb::giop::RequestHeader header;
    if (readRequestHeader(octetsOf(request), headerOf(request), header) !=
        orb::giop::Violation::None)
        throw std::runtime_error("this is no request");
    return header;
}

/// memmem is several times as fast here as std::string::find.
std::size_t find(std::string_view text, std::string_view name, std::size_t from) {
    const void* const found =
        ::memmem(text.data() + from, text.size() - from, name.data(), name.size());
    return found == nullptr
               ? std::string_view::npos
               : static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

/// The value of a field of filterable data whose name is at `at`, if it is a text.
std::optional<std::string> textAt(std::string_view request, std::size_t at, std::string_view name) {
    const bool isLittle = headerOf(request).littleEndian;
    const auto length = CdrReader::message(octetsOf(request), isLittle, at - 4).unsignedLong();
    CdrReader value = CdrReader::message(octetsOf(request), isLittle, at + name.size());
    const auto code = value.unsignedLong();
    const auto bound = value.unsignedLong();
    if (length != name.size() || code != kStringCode || bound != 0U)
        return std::nullopt;
    return value.string();
}

template <class Number>
Number numberOf(std::string_view digits) {
    Number number = 0;
    const char* const end = digits.data() + digits.size();
    const auto read = std::from_chars(digits.data(), end, number);
    if (read.ec != std::errc() || read.ptr != end)
        throw std::runtime_error("an alarm without a number: " + std::string(digits));
    return number;
}

/// The texts with this name, each with its position.
struct Found {
    std::size_t at;
    std::string text;
};

std::vector<Found> textsNamed(std::string_view name, std::string_view request, std::size_t from) {
    std::vector<Found> all;
    for (std::size_t at = find(request, name, from); at != std::string_view::npos;
         at = find(request, name, at + name.size())) {
        if (auto text = textAt(request, at, name))
            all.push_back({at, std::move(*text)});
    }
    return all;
}

}  // namespace

std::string operationOf(const std::string& request) {
    return std::string(requestHeaderOf(request).operation);
}

std::vector<PushedAlarm> alarmsIn(const std::string& request) {
    const std::size_t body = requestHeaderOf(request).body;
    const auto events =
        CdrReader::message(octetsOf(request), headerOf(request).littleEndian, body).unsignedLong();
    const std::vector<Found> ids = textsNamed(kIdName, request, body);
    if (events != ids.size())
        throw std::runtime_error("a batch of " + std::to_string(events.value_or(0)) + " has " +
                                 std::to_string(ids.size()) + " notification ids");
    std::vector<PushedAlarm> alarms;
    for (const Found& text : textsNamed(kTextName, request, body)) {
        if (!text.text.starts_with(kStampPrefix))
            continue;
        // the id comes first in an event
        const auto after =
            std::find_if(ids.begin(), ids.end(), [&](const Found& id) { return id.at > text.at; });
        if (after == ids.begin())
            throw std::runtime_error("an additional text before the first notification id");
        alarms.push_back(
            {numberOf<std::uint64_t>((after - 1)->text),
             numberOf<std::int64_t>(std::string_view(text.text).substr(kStampPrefix.size()))});
    }
    return alarms;
}

}  // namespace kelp::bench
