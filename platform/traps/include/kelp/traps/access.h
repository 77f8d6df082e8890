#pragma once

#include <kelp/traps/engine_id.h>
#include <kelp/users/oss_networks.h>
#include <kelp/util/export.h>
#include <kelp/util/peer_address.h>
#include <kelp/util/secret.h>

#include <filesystem>
#include <string>
#include <vector>

namespace kelp::traps {

/// A community of SNMPv2c, and the networks whose hosts may use it.
struct Community {
    util::Secret text;
    bool isAnywhere = true;  ///< all allowed sources may use it
    users::OssNetworks networks;
};

enum class Authentication { Sha1, Sha224, Sha256, Sha384, Sha512 };

/// A user of SNMPv3 (USM). Every message must be authenticated, and encrypted if the user has a
/// password for that.
struct User {
    std::string name;
    Authentication authentication = Authentication::Sha256;
    util::Secret authenticationPassword;
    bool hasPrivacy = false;  ///< AES-128
    util::Secret privacyPassword;
    /// The engines whose traps are accepted. An inform needs none: it is addressed to our engine.
    std::vector<EngineId> engines;
};

/// Read communities, one a line: the community, then optionally the networks that may use it.
/// Fields are separated by blanks; lines that begin with # are comments. Problems begin with
/// "FILE:LINE: " and never contain a secret. The file must be accessible only to its owner.
KELP_EXPORT std::vector<Community> readCommunities(const std::filesystem::path& file,
                                                   std::vector<std::string>& problems);

/// Read users, one a line: name, SHA, SHA-224, SHA-256, SHA-384 or SHA-512, the password for it,
/// and optionally AES and the password for it; then optionally "engine=HEX" for each engine that
/// sends traps. Otherwise as readCommunities().
KELP_EXPORT std::vector<User> readUsers(const std::filesystem::path& file,
                                        std::vector<std::string>& problems);

/// Whether a peer may use one of the communities with this text. The time does not depend on where
/// the texts differ.
KELP_EXPORT bool mayUseCommunity(const std::vector<Community>& communities, const std::string& text,
                                 const util::PeerAddress& peer);

}  // namespace kelp::traps
