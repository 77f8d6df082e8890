// A service on a disk whose power is cut at a random moment. The seed is printed.

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <set>
#include <thread>

#include "service_fixture.h"
#include "support/power_cut_disk.h"

namespace kelp::test {
namespace {

using alarms::Severity;

/// Submits changes of ten elements until it is refused. Used by one thread.
class Sender {
  public:
    explicit Sender(int first, std::uint64_t seed) : first_(first), random_(seed) {}

    void sendUntilRefused(alarms::AlarmService& service) {
        try {
            for (;;)
                send(service);
        } catch (const alarms::IntakeRefused&) {
            return;
        }
    }

    /// Check that the list shows, for each element, what was accepted last, or the change whose
    /// submission was refused: it may have reached the disk.
    void check(const std::map<std::string, Severity>& active) {
        const auto shown = [&active](int element) {
            const auto found = active.find(std::to_string(element));
            return found == active.end() ? Severity::Cleared : found->second;
        };
        for (const auto& [element, severity] : accepted_)
            EXPECT_TRUE(shown(element) == severity ||
                        (element == attempted_ && shown(element) == attempt_))
                << "element " << element;
        accepted_[attempted_] = shown(attempted_);
    }
    /// The notification ids that were returned.
    const std::set<alarms::Position>& ids() const { return ids_; }

  private:
    void send(alarms::AlarmService& service) {
        constexpr std::array kSeverities{Severity::Critical, Severity::Minor, Severity::Cleared};
        attempted_ = first_ + std::uniform_int_distribution<int>(0, 9)(random_);
        attempt_ = kSeverities[std::uniform_int_distribution<std::size_t>(0, 2)(random_)];
        const alarms::Result result =
            service.submit({alarms::Report{alarmOf(attempted_, attempt_)}}).at(0);
        accepted_[attempted_] = attempt_;
        if (result.hasEvent)
            ids_.insert(result.position);
    }

    const int first_;
    std::mt19937_64 random_;
    std::map<int, Severity> accepted_;
    std::set<alarms::Position> ids_;
    int attempted_ = -1;
    Severity attempt_ = Severity::Cleared;
};

class PowerCutOfService : public testing::TestWithParam<std::uint64_t> {
  protected:
    PowerCutOfService() {
        settings_.savedLists = folder_ / "lists";
        settings_.patience = std::chrono::milliseconds(1);
        settings_.list.flapRaises = 1'000'000;
        settings_.recordsPerSave = 20;
        settings_.recordsKept = 10;
    }
    /// The elements with active alarms.
    static std::set<std::string> activeOf(const alarms::AlarmService& service) {
        std::set<std::string> elements;
        for (const alarms::Entry& each : service.state()->read())
            elements.insert(each->alarm.nativeEMSName);
        return elements;
    }
    std::unique_ptr<alarms::AlarmService> start() {
        auto service = std::make_unique<alarms::AlarmService>(
            settings_,
            changelog::openSqliteLog(
                {.file = folder_ / "changes.db", .syncEveryCommit = true, .vfs = disk_.vfs()}));
        service->setSink(&sink_);
        service->start();
        return service;
    }

    const TemporaryDirectory folder_;
    PowerCutDisk disk_{GetParam()};
    alarms::ServiceSettings settings_;
    RecordingSink sink_;
};

TEST_P(PowerCutOfService, LosesNeitherAChangeNorAnEventForWhichSubmitReturned) {
    SCOPED_TRACE("seed " + std::to_string(GetParam()));
    std::mt19937_64 random(GetParam());
    Sender left(0, random());
    Sender right(100, random());
    for (int cut = 0; cut < 3; ++cut) {
        {
            const auto service = start();
            // a cut also finds events that nobody has accepted
            sink_.open(cut != 1);
            disk_.cutAfter(std::uniform_int_distribution<std::uint64_t>(0, 600)(random));
            std::thread other([&] { right.sendUntilRefused(*service); });
            left.sendUntilRefused(*service);
            other.join();
            EXPECT_TRUE(disk_.isCut());
        }
        disk_.restore();
        sink_.open(true);
        const auto service = start();
        std::map<std::string, Severity> active;
        for (const alarms::Entry& each : service->state()->read())
            active[each->alarm.nativeEMSName] = each->alarm.perceivedSeverity;
        left.check(active);
        right.check(active);
        std::set<alarms::Position> ids = left.ids();
        ids.insert(right.ids().begin(), right.ids().end());
        EXPECT_TRUE(waitUntil([&] {
            const std::vector<alarms::Position> sent = sink_.positions();
            const std::set<alarms::Position> all(sent.begin(), sent.end());
            return std::includes(all.begin(), all.end(), ids.begin(), ids.end());
        })) << "an event is missing";
    }
}

TEST_P(PowerCutOfService, ADiskThatCannotSyncRefusesAndLosesNothing) {
    SCOPED_TRACE("seed " + std::to_string(GetParam()));
    // no list is saved meanwhile
    settings_.recordsPerSave = 1'000'000;
    settings_.patience = std::chrono::milliseconds(100);
    const std::set<std::string> before = {"1", "2", "3", "4", "5"};
    const std::set<std::string> after = {"1", "2", "3", "4", "5", "7"};
    {
        const auto service = start();
        for (int i = 1; i <= 5; ++i)
            service->submit({raise(i)});
        disk_.failSyncs(true);
        try {
            service->submit({raise(6)});
            ADD_FAILURE() << "it is accepted";
        } catch (const alarms::IntakeRefused& refused) {
            EXPECT_EQ(refused.why(), alarms::IntakeRefused::Why::Storage);
        }
        EXPECT_EQ(activeOf(*service), before);
        disk_.failSyncs(false);
        service->submit({raise(7)});
        EXPECT_EQ(activeOf(*service), after);
        disk_.cutAfter(0);
    }
    disk_.restore();
    EXPECT_EQ(activeOf(*start()), after);
}

INSTANTIATE_TEST_SUITE_P(Seeds, PowerCutOfService, testing::Range<std::uint64_t>(1, 9));

}  // namespace
}  // namespace kelp::test
