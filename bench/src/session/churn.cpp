#include "session/churn.h"

#include <stdexcept>

#include "harness/eventually.h"

namespace kelp::bench {

namespace {

constexpr unsigned kFirstPort = 1024;
constexpr unsigned kLastPort = 65535;

bool isOver(emsSession::EmsSession_I_ptr session) {
    try {
        session->ping();
        return false;
    } catch (const CORBA::SystemException&) {
        return true;
    }
}

}  // namespace

void Churn::logInAndOut(std::size_t times) {
    std::size_t left = times;
    logInAndOutWhile([&left] { return --left > 0; });
}

std::size_t Churn::logInAndOutWhile(const std::function<bool()>& more) {
    emsSession::EmsSession_I_var session;
    std::size_t times = 0;
    do {
        session = ems_.logIn(nextAddress());
        session->endSession();
        ++times;
    } while (more());
    const auto end = std::chrono::steady_clock::now() + test::kPatience;
    while (!isOver(session.in())) {
        if (std::chrono::steady_clock::now() > end)
            throw std::runtime_error("a session does not end");
    }
    return times;
}

/// Return an address on 127.0.0.2, so that it is never the address of a live NMS of the farm.
std::string Churn::nextAddress() {
    port_ = port_ == kLastPort ? kFirstPort : port_ + 1;
    return "127.0.0.2:" + std::to_string(port_);
}

}  // namespace kelp::bench
