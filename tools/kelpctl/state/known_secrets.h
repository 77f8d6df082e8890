#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "state/configuration_files.h"
#include "state/layout.h"

namespace kelp::state {

/// The secrets in the files of a host, to find them in texts that leave the machine. No text should
/// have one; this is the second line of defence.
class KnownSecrets {
  public:
    /// Read the secrets of this host: the key of the security log, the token of the operator's
    /// interface, communities, SNMPv3 passwords, private keys and their passwords. Files that are
    /// missing or cannot be read are skipped: their content cannot be in another text either, as
    /// far as this process can tell.
    static KnownSecrets ofHost(const StateLayout& layout,
                               const std::vector<ConfigurationFile>& configuration);

    /// Texts of fewer than 4 characters are ignored, because they are in every text.
    void add(std::string_view secret);

    /// The text with *** in place of every secret, in its plain form and as JSON and the trace
    /// escape it. Password hashes, PEM private keys and bearer tokens are masked too, known or not.
    std::string masked(std::string text) const;

  private:
    std::vector<std::string> forms_;
};

/// Whether the value of a key of the configuration must not be shown. Keys that name a file with
/// secrets are no secrets.
bool isSecretKey(const std::string& key);

}  // namespace kelp::state
