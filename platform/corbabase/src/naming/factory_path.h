#pragma once

#include <kelp/util/naming_path.h>

namespace NS_CORBA {

/// Return the naming path of the session factory of the configured EMS (TMF 814 SD1-43).
kelp::util::NamingPath configuredFactoryPath();

}  // namespace NS_CORBA
