#include <fmt/format.h>

#include <functional>
#include <iostream>
#include <stdexcept>

#include "common/process_usage.h"
#include "iterators/measurements.h"

namespace kelp::bench {

namespace {

constexpr CORBA::ULong kAimBatch = 1000;
constexpr double kLeastRatio = 1.0;

struct Series {
    std::vector<double> perSecond;
    std::vector<double> processorMicroseconds;  ///< the server's processor time for each object
};

/// What one server does in one round. Returns the number of objects or lists, and the time they
/// took.
using Slice = std::function<Walk(const ListServer&)>;

Walk measureSlice(const ListServer& server, const Slice& slice, Series& series) {
    const auto before = processorTime(server.pid);
    const Walk walked = slice(server);
    const std::chrono::duration<double, std::micro> used = processorTime(server.pid) - before;
    series.perSecond.push_back(walked.perSecond());
    series.processorMicroseconds.push_back(used.count() / static_cast<double>(walked.objects));
    return walked;
}

std::vector<double> quotients(const std::vector<double>& values,
                              const std::vector<double>& floors) {
    std::vector<double> all;
    for (std::size_t i = 0; i < values.size(); ++i)
        all.push_back(values[i] / floors[i]);
    return all;
}

Figure figureOf(const std::string& name, const std::string& unit,
                const std::vector<ListServer>& servers, const std::vector<Series>& series,
                std::vector<double> Series::*values) {
    Figure figure;
    figure.name = name;
    figure.unit = unit;
    figure.value = medianOf(series.front().*values);
    for (std::size_t i = 1; i < servers.size(); ++i)
        figure.references.push_back({servers[i].name, medianOf(series[i].*values)});
    figure.ratio = spreadOf(quotients(series.front().*values, series[1].*values));
    return figure;
}

std::vector<Figure> figuresOf(const std::string& name, const std::string& unit,
                              const std::vector<ListServer>& servers,
                              const std::vector<Series>& series) {
    return {
        figureOf(name, unit + "s/s", servers, series, &Series::perSecond),
        figureOf("  server's processor time a" + std::string(unit == "object" ? "n " : " ") + unit,
                 "us", servers, series, &Series::processorMicroseconds)};
}

/// Return the servers: the product first, then its floors.
std::vector<ListServer> serversOf(const Stand& stand, bool alsoCopying) {
    std::vector<ListServer> servers = {stand.product, stand.floor};
    if (alsoCopying)
        servers.push_back(stand.copying);
    return servers;
}

/// Uploads one list after the other. Each list is uploaded in two successive rounds: once with the
/// product first and once with it last.
class ListRounds {
  public:
    ListRounds(const Uploads& uploads, CORBA::ULong batch, std::size_t most)
        : uploads_(uploads), batch_(batch), most_(most) {}

    void run(const std::vector<ListServer>& servers, std::size_t round,
             std::vector<Series>& series) {
        constexpr std::size_t roundsAList = 2;
        const ListName& list = uploads_.lists[round / roundsAList % uploads_.lists.size()];
        const auto slice = [&](const ListServer& server) {
            // the floor is asked for exactly the number of entries that the product returned, which
            // may be fewer than requested
            const bool isProduct = server.name == servers.front().name;
            return walk(server, list, isProduct ? Asks(batch_) : Asks(batches_), most_);
        };
        const bool productFirst = round % roundsAList == 0;
        for (std::size_t turn = 0; turn < servers.size(); ++turn) {
            const std::size_t place = productFirst ? turn : servers.size() - 1 - turn;
            const Walk walked = measureSlice(servers[place], slice, series[place]);
            if (place == 0)
                batches_ = walked.batches;
            else if (walked.batches != batches_)
                throw std::runtime_error(
                    "the floor does not give the batches that the product gives");
        }
    }
    /// Return the number of entries in the largest batch of the last list.
    CORBA::ULong largestBatch() const {
        return *std::max_element(batches_.begin(), batches_.end());
    }

  private:
    const Uploads& uploads_;
    const CORBA::ULong batch_;
    const std::size_t most_;
    std::vector<CORBA::ULong> batches_;
};

}  // namespace

std::vector<Figure> measureRate(const Stand& stand, const Uploads& uploads, CORBA::ULong batch,
                                const UploadOptions& options) {
    std::cerr << fmt::format("  {} by {}\n", uploads.what, batch);
    const std::vector<ListServer> servers = serversOf(stand, batch == kAimBatch);
    ListRounds lists(uploads, batch,
                     batch == 1 ? options.shareOfOnes : std::numeric_limits<std::size_t>::max());
    std::vector<Series> series(servers.size());
    for (std::size_t round = 0; round < options.rounds; ++round)
        lists.run(servers, round, series);
    std::vector<Figure> figures =
        figuresOf(fmt::format("{} by {}", uploads.what, batch), "object", servers, series);
    if (batch == kAimBatch)
        figures.front().aim = Aim{Aim::Of::Ratio, Aim::Bound::AtLeast, kLeastRatio};
    if (batch == 1)
        figures.front().note = fmt::format("the first {} entries of the list", options.shareOfOnes);
    else if (lists.largestBatch() < batch)
        figures.front().note = fmt::format("a batch has {} at most, as more would be above 1 MiB",
                                           lists.largestBatch());
    return figures;
}

std::vector<Figure> measureShortLists(const Stand& stand, const std::vector<ListName>& lists,
                                      const UploadOptions& options) {
    std::cerr << "  short lists\n";
    const std::vector<ListServer> servers = serversOf(stand, true);
    std::vector<Series> series(servers.size());
    const std::size_t kept = std::min(lists.size(), options.shortListsKept);
    std::size_t objects = 0;
    for (std::size_t round = 0; round < options.rounds; ++round) {
        std::size_t objectsOfProduct = 0;
        const auto slice = [&](const ListServer& server) {
            Walk all;
            std::size_t got = 0;
            for (std::size_t i = 0; i < options.shortListsARound; ++i) {
                const ListName& list = lists[(round * options.shortListsARound + i) % kept];
                const Walk one = walk(server, list, Asks(kAimBatch));
                got += one.objects;
                all.took += one.took;
                ++all.objects;
            }
            if (objectsOfProduct != 0 && got != objectsOfProduct)
                throw std::runtime_error(
                    "the floor does not give the ports that the product gives");
            objectsOfProduct = got;
            return all;
        };
        for (std::size_t turn = 0; turn < servers.size(); ++turn) {
            const std::size_t place = (round + turn) % servers.size();
            measureSlice(servers[place], slice, series[place]);
        }
        objects += objectsOfProduct;
    }
    std::vector<Figure> figures =
        figuresOf("an element's ports, short lists", "list", servers, series);
    figures.front().note = fmt::format(
        "{:.1f} ports a list", static_cast<double>(objects) /
                                   static_cast<double>(options.rounds * options.shortListsARound));
    return figures;
}

}  // namespace kelp::bench
