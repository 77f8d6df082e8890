#include "session/log_in_gate.h"

#include <utility>

namespace NS_KELPCORBA {

using kelp::util::MutexLock;

LogInGate& LogInGate::instance() {
    static LogInGate gate;
    return gate;
}

bool LogInGate::close(const Closing& closing) {
    const MutexLock lock(mutex_);
    if (closing_)
        return false;
    closing_ = closing;
    return true;
}

bool LogInGate::open() {
    const MutexLock lock(mutex_);
    return std::exchange(closing_, std::nullopt).has_value();
}

std::optional<LogInGate::Closing> LogInGate::closing() const {
    const MutexLock lock(mutex_);
    return closing_;
}

std::optional<std::string> LogInGate::refusal() const {
    const std::optional<Closing> current = closing();
    if (!current)
        return std::nullopt;
    return current->reason.empty() ? "no reason was given" : current->reason;
}

}  // namespace NS_KELPCORBA
