#include <kelp/corbabase/session_token.h>
#include <kelp/util/random_octets.h>

#include <algorithm>

namespace NS_CORBA {

SessionToken::SessionToken() {
    kelp::util::fillRandomly(octets_.data(), octets_.size());
}

PortableServer::ObjectId* SessionToken::idOf(std::string_view name) const {
    PortableServer::ObjectId_var id = new PortableServer::ObjectId;
    id->length(static_cast<CORBA::ULong>(name.size() + kOctets));
    CORBA::Octet* const octets = id->get_buffer();
    std::copy(octets_.begin(), octets_.end(), std::copy(name.begin(), name.end(), octets));
    return id._retn();
}

bool SessionToken::isIn(std::string_view objectId) const noexcept {
    return objectId.size() >= kOctets &&
           kelp::util::isEqualInConstantTime(objectId.data() + objectId.size() - kOctets,
                                             octets_.data(), kOctets);
}

std::string_view SessionToken::nameIn(std::string_view objectId) noexcept {
    objectId.remove_suffix(std::min(objectId.size(), kOctets));
    return objectId;
}

}  // namespace NS_CORBA
