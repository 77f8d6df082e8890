#pragma once

#include <httplib.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace kelp::host {

/// How callers reach the operator's interface.
enum class AdminTransport : std::uint8_t {
    UnixSocket,
    LoopbackPort,
    Network,  ///< over TLS, with a password
};

/// Why a browser must have sent this request for a page of somebody else; empty if there is no such
/// sign. A name that leads to this machine although it belongs to somebody else (DNS rebinding)
/// shows in the header "Host", and a form or script of another page in the header "Origin". This
/// matters on a Unix socket too, because operators forward it to a port of the machine with the
/// browser.
std::string signOfForeignPage(const httplib::Request& request, AdminTransport transport);

/// Whether the value of a header "Host" names this machine: an address of the loopback interface or
/// "localhost", with or without a port. Programs that use a Unix socket choose the name freely, so
/// there it may also be a path or a name without a dot, which nobody can register.
bool isNameOfThisMachine(std::string_view host, AdminTransport transport);

/// The headers of every answer. They keep browsers from storing answers, from running anything but
/// the scripts of the status page, and from showing an answer inside another page.
httplib::Headers headersForBrowsers();

}  // namespace kelp::host
