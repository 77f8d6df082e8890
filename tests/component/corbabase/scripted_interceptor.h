#pragma once

#include <kelp/corbabase/request_interceptor.h>

#include <atomic>
#include <functional>

namespace kelp::test {

/// Counts the requests that pass, and runs a function of the test in each.
class ScriptedInterceptor : public NS_CORBA::RequestInterceptorBase {
  public:
    explicit ScriptedInterceptor(std::function<void(const orb::RequestInfo*)> onRequest =
                                     [](const orb::RequestInfo*) {})
        : onRequest_(std::move(onRequest)) {}
    void receive_request(const orb::RequestInfo* ri) override {
        ++requests;
        onRequest_(ri);
    }
    void SetThreadContext(const orb::RequestInfo*) override {}

    std::atomic<int> requests{0};

  private:
    std::function<void(const orb::RequestInfo*)> onRequest_;
};

}  // namespace kelp::test
