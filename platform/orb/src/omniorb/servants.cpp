#include <kelp/orb/servants.h>

namespace kelp::orb {

std::string repositoryId(PortableServer::Servant servant) {
    const char* id = servant == nullptr ? nullptr : servant->_mostDerivedRepoId();
    return std::string(id == nullptr ? "" : id);
}

}  // namespace kelp::orb
