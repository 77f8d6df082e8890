#include "ems_description.h"

#include <kelp/corbabase/base_config.h>

#include <string>

namespace kelp::ems {

namespace {

/// The EMS's own part of CompanyName/EMSName.
std::string nameWithoutCompany(const std::string& emsName) {
    const auto separator = emsName.find('/');
    return separator == std::string::npos ? emsName : emsName.substr(separator + 1);
}

}  // namespace

emsMgr::EMS_T* describeEms() {
    // the configured name changes only with a restart
    static const std::string emsName = NS_CORBA::CorbaBaseAgentConfig::Instance()->EmsName();
    static const std::string nativeName = nameWithoutCompany(emsName);

    emsMgr::EMS_T_var ems = new emsMgr::EMS_T;
    ems->name.length(1);
    ems->name[0].name = CORBA::string_dup("EMS");
    ems->name[0].value = CORBA::string_dup(emsName.c_str());
    // a user label starts as the native name (TMF 814), and nobody can change it here
    ems->userLabel = CORBA::string_dup(nativeName.c_str());
    ems->nativeEMSName = CORBA::string_dup(nativeName.c_str());
    // without an owner: a new structure's texts are empty (C++ mapping)
    ems->emsVersion = CORBA::string_dup(KELP_VERSION);
    ems->type = CORBA::string_dup("Kelp");
    return ems._retn();
}

}  // namespace kelp::ems
