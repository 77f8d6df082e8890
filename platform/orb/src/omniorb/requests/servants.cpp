#include <kelp/orb/servants.h>

namespace kelp::orb {

std::string repositoryId(PortableServer::Servant servant) {
    if (servant == nullptr)
        return {};
    const char* id = servant->_mostDerivedRepoId();
    return id == nullptr ? std::string() : std::string(id);
}

}  // namespace kelp::orb
