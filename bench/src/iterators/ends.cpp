#include <fmt/format.h>

#include <iostream>
#include <stdexcept>

#include "iterators/measurements.h"

namespace kelp::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kMostTimes = 1.15;
constexpr std::size_t kTenths = 10;

/// Times of the fetched batches, in us for each entry.
struct Times {
    std::vector<double> atStart;
    std::vector<double> atEnd;
};

double timeOfNext(OpenList& list, CORBA::ULong batch) {
    const Clock::time_point begin = Clock::now();
    const CORBA::ULong count = list.next(batch);
    const std::chrono::duration<double, std::micro> took = Clock::now() - begin;
    return took.count() / count;
}

/// Fetch until at most `left` entries remain.
void advance(OpenList& list, CORBA::ULong length, CORBA::ULong left) {
    constexpr CORBA::ULong step = 1000;
    for (CORBA::ULong at = list.first(); length - at > left;)
        at += list.next(std::min(step, length - at - left));
}

/// Fetch in turns with two iterators of one list: one at its start, one a tenth before its end.
void fetchInTurns(const ListServer& server, const ListName& name, CORBA::ULong batch,
                  Times& times) {
    const std::unique_ptr<OpenList> start = open(server, name, batch);
    const std::unique_ptr<OpenList> end = open(server, name, batch);
    const CORBA::ULong length = end->first() + end->rest();
    const auto tenth = static_cast<CORBA::ULong>(length / kTenths);
    advance(*end, length, tenth);
    // leave out the last batch: it may be shorter, and it ends the iterator
    const CORBA::ULong pairs = tenth / batch - (tenth % batch == 0 ? 1 : 0);
    if (pairs == 0)
        throw std::runtime_error(fmt::format("a tenth of {} entries has no whole batch", length));
    for (CORBA::ULong i = 0; i < pairs; ++i) {
        if (i % 2 == 0)
            times.atStart.push_back(timeOfNext(*start, batch));
        times.atEnd.push_back(timeOfNext(*end, batch));
        if (i % 2 != 0)
            times.atStart.push_back(timeOfNext(*start, batch));
    }
    start->destroy();
    end->destroy();
}

}  // namespace

Figure measureEnds(const Stand& stand, const Uploads& uploads, const UploadOptions& options) {
    const CORBA::ULong batch = options.endsBatch;
    std::cerr << fmt::format("  {} by {}, start and end of the list\n", uploads.what, batch);
    std::vector<double> ratios;
    Times all;
    for (std::size_t round = 0; round < options.rounds; ++round) {
        Times times;
        fetchInTurns(stand.product, uploads.lists[round % uploads.lists.size()], batch, times);
        ratios.push_back(medianOf(times.atEnd) / medianOf(times.atStart));
        all.atStart.insert(all.atStart.end(), times.atStart.begin(), times.atStart.end());
        all.atEnd.insert(all.atEnd.end(), times.atEnd.begin(), times.atEnd.end());
    }
    Figure figure;
    figure.name = fmt::format("{} by {}, last tenth of the list", uploads.what, batch);
    figure.unit = "us/object";
    figure.value = medianOf(all.atEnd);
    figure.references = {{"first tenth", medianOf(all.atStart)}};
    figure.ratio = spreadOf(ratios);
    figure.aim = Aim{Aim::Of::Ratio, Aim::Bound::AtMost, kMostTimes};
    return figure;
}

}  // namespace kelp::bench
