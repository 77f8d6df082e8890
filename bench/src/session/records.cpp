#include "session/records.h"

#include <kelp/oplog/operation_log.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <iostream>
#include <stdexcept>

#include "common/process_usage.h"
#include "harness/scratch_dir.h"

namespace kelp::bench {

namespace {

using oplog::LogCounts;
using oplog::OperationLog;
using oplog::OperationRecord;

constexpr std::size_t kRounds = 10;
constexpr std::size_t kRecords = 20000;  ///< records a round; the queue holds ten times as many
constexpr std::chrono::seconds kPatience{60};

/// Make a record as the product writes it for a manager's operation.
OperationRecord record() {
    OperationRecord made;
    made.user = "operator";
    made.nmsAddress = "127.0.0.1:41234";
    made.peer = "127.0.0.1:51234";
    made.operation = "getEMS";
    made.objectKind = oplog::ObjectKind::Manager;
    made.object = "EMS";
    made.outcome = "ok";
    made.duration = std::chrono::microseconds(21);
    return made;
}

std::chrono::nanoseconds threadTime() {
    timespec used{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

double aRecord(std::chrono::nanoseconds time) {
    return std::chrono::duration<double, std::micro>(time).count() / static_cast<double>(kRecords);
}

Figure figureOf(const std::string& name, const std::vector<double>& values) {
    Figure figure;
    figure.name = name;
    figure.unit = "us";
    figure.value = medianOf(values);
    return figure;
}

}  // namespace

std::vector<Figure> measureRecords() {
    std::cerr << "records\n";
    const test::ScratchDir scratch;
    oplog::LogSettings settings;
    settings.database = scratch / "oplog.db";
    OperationLog log(settings);
    std::vector<double> atTheRequest;
    std::vector<double> altogether;
    for (std::size_t round = 0; round < kRounds; ++round) {
        const auto allBefore = processorTime(::getpid());
        const auto before = threadTime();
        for (std::size_t i = 0; i < kRecords; ++i)
            log.write(record());
        atTheRequest.push_back(aRecord(threadTime() - before));
        if (!log.flush(kPatience))
            throw std::runtime_error("the operation log is not written");
        altogether.push_back(aRecord(processorTime(::getpid()) - allBefore));
    }
    const LogCounts counts = log.counts();
    if (counts.written != kRounds * kRecords || counts.missing != 0)
        throw std::runtime_error("the operation log has lost records");
    return {figureOf("record of a request, time at the request", atTheRequest),
            figureOf("  processor time with the way to the disk", altogether)};
}

}  // namespace kelp::bench
