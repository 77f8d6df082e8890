#include "ems_description.h"

#include <string>

#include "common/idl_names.h"

namespace kelp::ems {

namespace {

/// The part of the EMS's name after "CompanyName/".
std::string nameWithoutCompany(const std::string& emsName) {
    const auto separator = emsName.find('/');
    return separator == std::string::npos ? emsName : emsName.substr(separator + 1);
}

}  // namespace

emsMgr::EMS_T* describeEms(const inventory::EmsAttributes& attributes) {
    static const std::string nativeName = nameWithoutCompany(managers::emsName());

    emsMgr::EMS_T_var ems = new emsMgr::EMS_T;
    managers::toIdl(inventory::EmsName(), ems->name);
    // the initial user label is the native name (TMF 814)
    const std::string& label = attributes.userLabel.empty() ? nativeName : attributes.userLabel;
    ems->userLabel = CORBA::string_dup(label.c_str());
    ems->nativeEMSName = CORBA::string_dup(nativeName.c_str());
    ems->owner = CORBA::string_dup(attributes.owner.c_str());
    ems->emsVersion = CORBA::string_dup(KELP_VERSION);
    ems->type = CORBA::string_dup("Kelp");
    managers::toIdl(attributes.additionalInfo, ems->additionalInfo);
    return ems._retn();
}

}  // namespace kelp::ems
