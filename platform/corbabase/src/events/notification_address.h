#pragma once

#include <string>

namespace NS_CORBA {

/// Where the configured notification service of another process is found: the object under the name
/// that CORBA gives a notification service (ORB Interface, initial references), at its host and
/// port, as a corbaloc. Over TLS when this process has it.
std::string notificationServiceAddress();

}  // namespace NS_CORBA
