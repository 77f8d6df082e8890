#pragma once

#include <sodium.h>

#include <string>
#include <string_view>

namespace kelp::state {

/// The SHA-256 of the octets added so far.
class Checksum {
  public:
    Checksum();
    void add(std::string_view octets);
    /// Return it as 64 hexadecimal digits. Nothing can be added afterwards.
    std::string end();

  private:
    crypto_hash_sha256_state state_;
};

/// Whether the text has the form of a checksum.
bool isChecksum(const std::string& text);

}  // namespace kelp::state
