#pragma once

#include <string>

namespace NS_CORBA {

/// Return the address of the configured external notification service as a corbaloc. It consists of
/// the configured host and port and the object name NotificationService, which CORBA reserves for a
/// notification service (ORB Interface, initial references). Over TLS when this process uses TLS.
std::string notificationServiceAddress();

}  // namespace NS_CORBA
