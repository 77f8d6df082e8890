#pragma once

#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

#include <array>
#include <cstddef>
#include <string_view>

namespace NS_CORBA {

/// The secret of one session: 128 random bits at the end of the object id of each of its objects,
/// so that nobody can guess a reference. It is in references alone, never in a log. Immutable.
///
/// A manager's id is its name and the token, the session's own object's is the token, an iterator's
/// is a number and the token.
class KELP_EXPORT SessionToken {
  public:
    static constexpr std::size_t kOctets = 16;

    /// A new one. Throws std::runtime_error without a source of randomness.
    SessionToken();

    /// The object id of `name`: the name followed by the token. The caller owns it.
    PortableServer::ObjectId* idOf(std::string_view name) const;
    /// Whether the object id ends in this token. Takes the same time wherever a wrong one differs.
    bool isIn(std::string_view objectId) const noexcept;
    /// The object id without the token that it is known to end in; empty for an id that is too
    /// short.
    static std::string_view nameIn(std::string_view objectId) noexcept;

  private:
    std::array<unsigned char, kOctets> octets_{};
};

/// The octets of an object id, borrowed.
inline std::string_view octetsOf(const PortableServer::ObjectId& id) {
    return {reinterpret_cast<const char*>(id.get_buffer()), id.length()};
}

}  // namespace NS_CORBA
