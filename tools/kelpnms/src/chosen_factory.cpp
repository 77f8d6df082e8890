#include "chosen_factory.h"

namespace kelp::nms {

FoundFactory chosenFactory(NmsClient& client, const Options& options, Report& report) {
    FoundFactory factory = options.factoryReference.empty()
                               ? client.findFactory(options.factoryPath)
                               : client.factoryByReference(options.factoryReference);
    report.step("session factory " + factory.path + " at " + factory.address);
    return factory;
}

}  // namespace kelp::nms
