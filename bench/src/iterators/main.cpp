// Compares uploads through iterators with the same lists from memory.

#include <fmt/format.h>
#include <kelp/inventory/failure.h>
#include <kelp/nms/client.h>
#include <kelp/orb/exception_text.h>
#include <mtnm/globaldefs.h>

#include <algorithm>
#include <exception>
#include <iostream>

#include "common/process_usage.h"
#include "common/report.h"
#include "iterators/measurements.h"
#include "iterators/networks.h"
#include "iterators/options.h"
#include "iterators/same_octets.h"

namespace {

using namespace kelp::bench;

constexpr int kFailed = 1;
constexpr int kAimMissed = 2;
constexpr CORBA::ULong kUsualBatch = 1000;

Figure octetsOf(const Stand& stand, const std::string& what, const ListName& list) {
    const ListOctets sum = requireSameOctets(stand.orb(), stand.product, stand.floor, list);
    Figure figure;
    figure.name = what + " on the wire";
    figure.unit = "octets each";
    figure.value = static_cast<double>(sum.octets) /
                   static_cast<double>(std::max<std::size_t>(sum.entries, 1));
    figure.note = fmt::format("{} of them compared, octet by octet the same at product and floor",
                              sum.entries);
    return figure;
}

void measureLists(const Stand& stand, const Uploads& uploads, const UploadOptions& options,
                  Report& report) {
    report.add(octetsOf(stand, uploads.what, uploads.lists.front()));
    for (const CORBA::ULong batch : options.batches)
        report.add(measureRate(stand, uploads, batch, options));
    report.add(measureOtherOrder(stand, uploads, options));
    report.add(measureEnds(stand, uploads, options));
}

/// Measure a realistic network: many elements with a few ports each.
void measureWide(kelp::nms::NmsClient& client, Networks& networks, const UploadOptions& options,
                 Report& report) {
    const Stand stand(client, networks.of(options.elementCount, options.portCount),
                      options.shortLists ? options.shortListsKept : 0);
    std::cerr << fmt::format("many elements: product {}, floor {}\n", stand.product.pid,
                             stand.floor.pid);
    if (options.elements)
        measureLists(stand, {"elements", {ListName()}}, options, report);
    if (options.shortLists) {
        report.add(measureShortLists(stand, stand.portLists(), options));
        report.add(measureWholeUpload(stand, "all ports, short lists", kUsualBatch));
    }
    report.add(memoryGrowth(stand, "memory growth of the host, many elements"));
}

/// Measure a network of few elements with many ports each.
void measureDeep(kelp::nms::NmsClient& client, Networks& networks, const UploadOptions& options,
                 Report& report) {
    const Stand stand(client, networks.of(options.longLists, options.portCount), options.longLists);
    std::cerr << fmt::format("long lists: product {}, floor {}\n", stand.product.pid,
                             stand.floor.pid);
    measureLists(stand, {"ports", stand.portLists()}, options, report);
    report.add(measureWholeUpload(stand, "all ports, long lists", kUsualBatch));
    report.add(memoryGrowth(stand, "memory growth of the host, long lists"));
}

Report measureAll(const UploadOptions& options) {
    Report report;
    report.machine = machineInWords();
    report.loadBefore = loadOfMachine();
    Networks networks(options.networks);
    kelp::nms::NmsSettings settings;
    settings.listen = "127.0.0.1:0";
    kelp::nms::NmsClient client(settings);
    if (options.elements || options.shortLists)
        measureWide(client, networks, options, report);
    if (options.ports)
        measureDeep(client, networks, options, report);
    report.loadAfter = loadOfMachine();
    return report;
}

}  // namespace

int main(int argc, char** argv) {
    int exitCode = 0;
    const std::optional<UploadOptions> options = parseUploadOptions(argc, argv, exitCode);
    if (!options)
        return exitCode;
    try {
        const Report report = measureAll(*options);
        if (options->json)
            printAsJson(report, std::cout);
        else
            printAsTable(report, std::cout);
        const bool isAnyMissed =
            std::any_of(report.figures.begin(), report.figures.end(),
                        [](const Figure& each) { return each.met() == false; });
        return isAnyMissed ? kAimMissed : 0;
    } catch (const globaldefs::ProcessingFailureException& failure) {
        std::cerr << "iterator_bench: the product refuses: " << failure.errorReason.in() << '\n';
    } catch (const CORBA::Exception& failure) {
        std::cerr << "iterator_bench: " << kelp::orb::exceptionText(failure) << '\n';
    } catch (const std::exception& failure) {
        std::cerr << "iterator_bench: " << failure.what() << '\n';
    }
    return kFailed;
}
