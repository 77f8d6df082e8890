#pragma once

#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

#include <array>
#include <cstddef>
#include <string_view>

namespace NS_CORBA {

/// The secret of one session: 128 random bits at the end of the object id of each of its objects,
/// so that nobody can guess a reference. It appears only in references, never in a log. Immutable.
///
/// The id of a manager is its name and the token. The id of the session object is the token. The id
/// of an iterator is its number and the token.
class KELP_EXPORT SessionToken {
  public:
    static constexpr std::size_t kOctets = 16;

    /// Create a new token. Throws std::runtime_error without a source of randomness.
    SessionToken();

    /// Return the object id of `name`: the name followed by the token. The caller owns the result.
    PortableServer::ObjectId* idOf(std::string_view name) const;
    /// Whether the object id ends in this token. Takes the same time for every wrong token.
    bool isIn(std::string_view objectId) const noexcept;
    /// Return the object id without the token at its end. Empty for an id that is too short.
    static std::string_view nameIn(std::string_view objectId) noexcept;

  private:
    std::array<unsigned char, kOctets> octets_{};
};

/// The octets of an object id, borrowed.
inline std::string_view octetsOf(const PortableServer::ObjectId& id) {
    return {reinterpret_cast<const char*>(id.get_buffer()), id.length()};
}

}  // namespace NS_CORBA
