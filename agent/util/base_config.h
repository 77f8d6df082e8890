#pragma once

#include <kelp/corbabase/base_config.h>

namespace NS_KELPCORBA {

/// The session release strategy that ends sessions of silent NMS.
inline constexpr int kReleaseBySilence = 2;

/// Return the settings of this process's CORBA interface.
inline NS_CORBA::CorbaBaseAgentConfig& baseConfig() {
    return *NS_CORBA::CorbaBaseAgentConfig::Instance();
}

}  // namespace NS_KELPCORBA
