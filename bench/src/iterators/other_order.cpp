#include <fmt/format.h>

#include <iostream>
#include <stdexcept>

#include "common/process_usage.h"
#include "iterators/measurements.h"
#include "iterators/plain_iterator.h"

namespace kelp::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr CORBA::ULong kForeignBatch = 1000;
constexpr double kLeastForeignRatio = 0.5;

/// Upload a list with requests in the byte order that is not this machine's. Returns objects a
/// second.
double rateOf(CORBA::ORB_ptr orb, const ListServer& server, const ListName& name) {
    RequestForm form;
    form.isBigEndian = true;
    form.hasChosenUtf8 = true;
    const std::unique_ptr<OpenList> list = open(server, name, 1);
    PlainIterator rest(orb, list->iterator(), form);
    std::size_t objects = 0;
    const Clock::time_point begin = Clock::now();
    for (bool isMore = true; isMore;) {
        const std::string reply = rest.next(kForeignBatch);
        if (!PlainIterator::isResult(reply))
            throw std::runtime_error("a next_n was refused");
        objects += PlainIterator::count(reply);
        isMore = PlainIterator::isMore(reply);
    }
    return static_cast<double>(objects) /
           std::chrono::duration<double>(Clock::now() - begin).count();
}

}  // namespace

Figure measureOtherOrder(const Stand& stand, const Uploads& uploads, const UploadOptions& options) {
    std::cerr << fmt::format("  {} by {}, requests in the other byte order\n", uploads.what,
                             kForeignBatch);
    std::vector<double> product;
    std::vector<double> floor;
    std::vector<double> ratios;
    for (std::size_t round = 0; round < options.rounds; ++round) {
        const ListName& list = uploads.lists[round / 2 % uploads.lists.size()];
        const auto measure = [&](bool isProduct) {
            (isProduct ? product : floor)
                .push_back(rateOf(stand.orb(), isProduct ? stand.product : stand.floor, list));
        };
        measure(round % 2 == 0);
        measure(round % 2 != 0);
        ratios.push_back(product.back() / floor.back());
    }
    Figure figure;
    figure.name = fmt::format("{} by {}, big-endian requests", uploads.what, kForeignBatch);
    figure.unit = "objects/s";
    figure.value = medianOf(product);
    figure.references.push_back({stand.floor.name, medianOf(floor)});
    figure.ratio = spreadOf(ratios);
    figure.aim = Aim{Aim::Of::Ratio, Aim::Bound::AtLeast, kLeastForeignRatio};
    figure.note = "the client does not decode what it receives";
    return figure;
}

}  // namespace kelp::bench
