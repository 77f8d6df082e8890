#include "system/audit/load.h"

#include <kelp/orb/corba.h>

namespace kelp::test {

Load::Load(const std::vector<Call>& callers, int calls) : left_(calls) {
    for (const Call& call : callers)
        threads_.emplace_back([this, call] { run(call); });
}

Load::~Load() {
    stop();
    wait();
}

void Load::wait() {
    for (std::thread& each : threads_) {
        if (each.joinable())
            each.join();
    }
}

void Load::stop() {
    left_ = 0;
}

void Load::run(const Call& call) {
    while (left_-- > 0) {
        try {
            call();
            ++answered_;
        } catch (const CORBA::Exception&) {
            ++failed_;
            ++left_;
            return;
        }
    }
}

}  // namespace kelp::test
