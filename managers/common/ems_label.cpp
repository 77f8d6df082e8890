#include "ems_label.h"

#include "idl_names.h"

namespace kelp::managers {

const std::string& emsNativeName() {
    static const std::string name = [] {
        const std::string& full = emsName();  // "CompanyName/EMSname"
        const auto separator = full.find('/');
        return separator == std::string::npos ? full : full.substr(separator + 1);
    }();
    return name;
}

const std::string& emsUserLabel(const inventory::EmsAttributes& attributes) {
    return attributes.userLabel.empty() ? emsNativeName() : attributes.userLabel;
}

}  // namespace kelp::managers
