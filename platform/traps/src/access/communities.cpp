#include <kelp/traps/access.h>
#include <kelp/util/random_octets.h>

#include <utility>

#include "access/secret_lines.h"

namespace kelp::traps {

namespace {

constexpr std::size_t kCommunityBytesMax = 255;

bool isSameText(const std::string& a, const std::string& b) {
    return a.size() == b.size() && util::isEqualInConstantTime(a.data(), b.data(), a.size());
}

}  // namespace

std::vector<Community> readCommunities(const std::filesystem::path& file,
                                       std::vector<std::string>& problems) {
    std::vector<Community> all;
    readSecretLines(file, problems,
                    [&](const std::vector<std::string_view>& fields, const std::string& where) {
                        if (fields.front().size() > kCommunityBytesMax) {
                            problems.push_back(where + "the community has more than " +
                                               std::to_string(kCommunityBytesMax) + " bytes");
                            return;
                        }
                        const std::vector<std::string> networks(fields.begin() + 1, fields.end());
                        Community community;
                        append(fields.front(), community.text);
                        community.isAnywhere = networks.empty();
                        std::string whyNot;
                        if (!community.networks.parse(networks, whyNot))
                            problems.push_back(where + whyNot);
                        else
                            all.push_back(std::move(community));
                    });
    return all;
}

bool mayUseCommunity(const std::vector<Community>& communities, const std::string& text,
                     const util::PeerAddress& peer) {
    bool may = false;
    for (const Community& each : communities) {
        const bool isAllowedHere = each.isAnywhere || each.networks.contains(peer);
        may |= isSameText(text, each.text.text()) && isAllowedHere;
    }
    return may;
}

}  // namespace kelp::traps
