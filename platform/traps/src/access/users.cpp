#include <kelp/traps/access.h>

#include <algorithm>
#include <map>
#include <utility>

#include "access/secret_lines.h"

namespace kelp::traps {

namespace {

constexpr std::size_t kUserBytesMax = 32;     // RFC 3414, usmUserName
constexpr std::size_t kPasswordBytesMin = 8;  // RFC 3414, 11.2
constexpr std::size_t kEnginesMax = 10000;
constexpr std::string_view kEngine = "engine=";
constexpr std::string_view kForm = "must be: NAME SHA-256 PASSWORD [AES PASSWORD] [engine=HEX]...";

const std::map<std::string_view, Authentication> kAuthentications = {
    {"SHA", Authentication::Sha1},       {"SHA-1", Authentication::Sha1},
    {"SHA-224", Authentication::Sha224}, {"SHA-256", Authentication::Sha256},
    {"SHA-384", Authentication::Sha384}, {"SHA-512", Authentication::Sha512},
};

/// What is wrong with a line.
struct WrongLine {
    std::string what;
};

/// Read the fields of one line. Throws WrongLine.
User userOf(const std::vector<std::string_view>& fields) {
    if (fields.size() < 3)
        throw WrongLine{std::string(kForm)};
    User user;
    user.name = fields[0];
    if (user.name.size() > kUserBytesMax)
        throw WrongLine{"the name has more than " + std::to_string(kUserBytesMax) + " bytes"};
    const auto authentication = kAuthentications.find(fields[1]);
    if (authentication == kAuthentications.end())
        throw WrongLine{"the second field must be SHA, SHA-224, SHA-256, SHA-384 or SHA-512"};
    user.authentication = authentication->second;
    append(fields[2], user.authenticationPassword);
    std::size_t next = 3;
    if (fields.size() > next && !fields[next].starts_with(kEngine)) {
        if ((fields[next] != "AES" && fields[next] != "AES-128") || fields.size() < next + 2)
            throw WrongLine{std::string(kForm)};
        user.hasPrivacy = true;
        append(fields[next + 1], user.privacyPassword);
        next += 2;
    }
    if (fields[2].size() < kPasswordBytesMin ||
        (user.hasPrivacy && user.privacyPassword.text().size() < kPasswordBytesMin))
        throw WrongLine{"a password has fewer than " + std::to_string(kPasswordBytesMin) +
                        " characters"};
    for (; next < fields.size(); ++next) {
        const std::optional<EngineId> engine =
            fields[next].starts_with(kEngine)
                ? parseEngineId(std::string(fields[next].substr(kEngine.size())))
                : std::nullopt;
        if (!engine)
            throw WrongLine{"field " + std::to_string(next + 1) +
                            " must be engine= and 5 to 32 octets in hexadecimal"};
        user.engines.push_back(*engine);
    }
    return user;
}

}  // namespace

std::vector<User> readUsers(const std::filesystem::path& file, std::vector<std::string>& problems) {
    std::vector<User> all;
    std::size_t engines = 0;
    readSecretLines(
        file, problems, [&](const std::vector<std::string_view>& fields, const std::string& where) {
            try {
                User user = userOf(fields);
                if (std::any_of(all.begin(), all.end(),
                                [&](const User& each) { return each.name == user.name; }))
                    throw WrongLine{"the user appears twice"};
                engines += user.engines.size();
                if (engines > kEnginesMax)
                    throw WrongLine{"there are more than " + std::to_string(kEnginesMax) +
                                    " engines"};
                all.push_back(std::move(user));
            } catch (const WrongLine& problem) {
                problems.push_back(where + problem.what);
            }
        });
    return all;
}

}  // namespace kelp::traps
