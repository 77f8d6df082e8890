#include "app/chosen_factory.h"

#include <chrono>
#include <thread>

namespace kelp::nms {

namespace {

constexpr std::chrono::milliseconds kPause{250};

}  // namespace

FoundFactory chosenFactory(NmsClient& client, const ConnectionOptions& options, Report& report) {
    FoundFactory factory = options.factoryReference.empty()
                               ? client.findFactory(options.factoryPath)
                               : client.factoryByReference(options.factoryReference);
    report.step("session factory " + factory.path + " at " + factory.address);
    return factory;
}

FoundFactory awaitedFactory(NmsClient& client, const ConnectionOptions& options, Report& report) {
    const auto deadline = std::chrono::steady_clock::now() + options.timeout;
    for (bool isFirst = true;; isFirst = false) {
        try {
            return chosenFactory(client, options, report);
        } catch (const NotRegistered& problem) {
            if (std::chrono::steady_clock::now() + kPause >= deadline)
                throw;
            if (isFirst)
                report.step(std::string(problem.what()) + ": waiting for it");
        }
        std::this_thread::sleep_for(kPause);
    }
}

}  // namespace kelp::nms
