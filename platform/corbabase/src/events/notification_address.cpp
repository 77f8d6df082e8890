#include "events/notification_address.h"

#include <kelp/corbabase/base_config.h>
#include <kelp/orb/references.h>

namespace NS_CORBA {

std::string notificationServiceAddress() {
    const CorbaBaseAgentConfig& config = *CorbaBaseAgentConfig::Instance();
    const bool overTls = config.GetSSLMode() != 0;
    std::string host;
    int port = 0;
    config.GetNotifyServiceAddr(host, port, overTls);
    return (overTls ? "corbaloc:ssliop:1.2@" : "corbaloc:iiop:1.2@") +
           kelp::orb::hostAndPort({host, static_cast<std::uint16_t>(port), overTls}) +
           "/NotificationService";
}

}  // namespace NS_CORBA
