// Random histories of alarms at a real host that is killed again and again, with adapters that lose
// their connection, and NMS that freeze, die and come back. In the end every NMS shows exactly the
// EMS's list, and that is what was reported last. KELP_HISTORY_SEED repeats a history;
// KELP_HISTORY_STEPS sets its length.

#include <gmock/gmock.h>

#include <cstdlib>
#include <iostream>
#include <optional>
#include <random>
#include <sstream>
#include <thread>

#include "adapter.h"
#include "history.h"
#include "system/kelpnms/kelpnms_fixture.h"

namespace kelp::test {
namespace {

using Json = nlohmann::json;
/// The severity of each managed element with an alarm, and whether it is acknowledged.
using List = std::map<std::string, std::string>;

void put(List& list, const Json& alarm) {
    list[alarm["objectName"].value("ManagedElement", "")] =
        alarm.value("perceivedSeverity", "") + " " + alarm.value("acknowledgeIndication", "");
}

/// A kelpnms that follows the alarms, and what it has shown.
class FollowingNms {
  public:
    explicit FollowingNms(Launch launch) : log_(launch.output), process_(launch) {}

    /// An NMS that the host refuses at first ends. Once it is logged in, it comes back
    /// automatically.
    bool waitUntilLoggedIn() { return log_.waitFor("logged in as"); }
    ChildProcess& process() { return process_; }
    std::string output() { return log_.text(); }
    List list() {
        List alarms;
        std::istringstream lines(log_.text());
        for (std::string line; std::getline(lines, line);) {
            const Json json = Json::parse(line, nullptr, false);
            if (!json.is_object() || !json.contains("change"))
                continue;
            if (json["change"] == "cleared")
                alarms.erase(json["alarm"]["objectName"].value("ManagedElement", ""));
            else
                put(alarms, json["alarm"]);
        }
        return alarms;
    }

  private:
    LogFile log_;
    ChildProcess process_;
};

std::uint64_t numberFrom(const char* variable, std::uint64_t otherwise) {
    const char* const text = std::getenv(variable);
    return text != nullptr ? std::stoull(text) : otherwise;
}

class Histories : public KelpnmsTest {
  protected:
    Histories() {
        // an alarm that flaps is shown late; the lists agree when it is quiet
        host_.set("notification", "heartbeat_s", 1)
            .set("session", "ping_interval_s", 1)
            .set("alarms", "flap_quiet_s", 1);
    }

    std::unique_ptr<FollowingNms> startNms() {
        return std::make_unique<FollowingNms>(
            launch({"--json", "--verbose", "--timeout", "5", "alarms"}));
    }
    /// The list that a new NMS reads.
    std::optional<List> readList() {
        LogFile log(scratch_ / ("list" + std::to_string(++runs_)));
        if (runToEnd(
                {KELPNMS, commandLine({"--json", "alarms", "--once"}), {}, log.file(), false}) != 0)
            return std::nullopt;
        List list;
        const Json read = Json::parse(log.text(), nullptr, false);
        for (const Json& alarm : read["alarms"])
            put(list, alarm);
        return list;
    }

    void perform(const Step& step);
    void repeatUntilAnswered() {
        EXPECT_TRUE(eventually([this] { return adapter_->repeat(); })) << adapter_->whyNot();
    }
    void reportUntilAnswered(int object, const std::string& severity) {
        if (!adapter_->report(object, severity))
            repeatUntilAnswered();
    }
    void killHostDuringReport(const Step& step) {
        bool isAnswered = false;
        std::thread reporting([&] { isAnswered = adapter_->report(step.object, step.severity); });
        std::this_thread::sleep_for(std::chrono::milliseconds(step.delayMs));
        host_.process().kill();
        reporting.join();
        host_.start();
        if (!isAnswered)
            repeatUntilAnswered();
    }
    /// The severities alone, of what a new NMS reads.
    bool isWhatWasReported(const List& list) const {
        List expected;
        for (const auto& [element, severity] : adapter_->active())
            expected[element] = severity;
        List found;
        for (const auto& [element, text] : list)
            found[element] = text.substr(0, text.find(' '));
        return found == expected;
    }
    void expectAgreement();

    std::optional<Adapter> adapter_;
    std::unique_ptr<FollowingNms> steady_;
    std::unique_ptr<FollowingNms> unsteady_;
};

void Histories::perform(const Step& step) {
    switch (step.kind) {
        case Step::Kind::Report:
            return reportUntilAnswered(step.object, step.severity);
        case Step::Kind::LostReport:
            adapter_->reportAndLeave(step.object, step.severity);
            return repeatUntilAnswered();
        case Step::Kind::Repeat:
            EXPECT_TRUE(adapter_->repeat()) << adapter_->whyNot();
            return;
        case Step::Kind::Acknowledge:
            // 10: the alarm is not active
            EXPECT_THAT(run({"ack", "--object", "ManagedElement=" + Adapter::nameOf(step.object),
                             "--probable-cause", "LOS"}),
                        testing::AnyOf(0, 10))
                << output();
            return;
        case Step::Kind::KillHost:
            return killHostDuringReport(step);
        case Step::Kind::FreezeNms:
            return unsteady_->process().freeze();
        case Step::Kind::ThawNms:
            return unsteady_->process().thaw();
        case Step::Kind::RestartNms:
            unsteady_->process().kill();
            unsteady_ = startNms();
            EXPECT_TRUE(unsteady_->waitUntilLoggedIn()) << unsteady_->output();
    }
}

void Histories::expectAgreement() {
    List list;
    EXPECT_TRUE(eventually([&] {
        const std::optional<List> read = readList();
        list = read.value_or(List());
        return read && isWhatWasReported(*read);
    })) << testing::PrintToString(list)
        << " where was reported " << testing::PrintToString(adapter_->active());
    for (FollowingNms* const nms : {steady_.get(), unsteady_.get()}) {
        EXPECT_TRUE(eventually([&] { return nms->list() == list; }))
            << testing::PrintToString(nms->list()) << " where the EMS has "
            << testing::PrintToString(list) << "\n"
            << nms->output();
    }
}

TEST_F(Histories, LeaveEveryNmsWithTheListOfTheEms) {
    const std::uint64_t seed = numberFrom("KELP_HISTORY_SEED", std::random_device()());
    const int length = static_cast<int>(numberFrom("KELP_HISTORY_STEPS", 40));
    const std::vector<Step> history = makeHistory(seed, length);
    std::ostringstream told;
    for (const Step& step : history)
        told << "  " << step << "\n";
    std::cout << "KELP_HISTORY_SEED=" << seed << " KELP_HISTORY_STEPS=" << length << std::endl;
    const testing::ScopedTrace trace(__FILE__, __LINE__,
                                     "seed " + std::to_string(seed) + "\n" + told.str());

    startHost();
    adapter_.emplace(host_.scratch("state") / "kelp" / "admin.sock");
    steady_ = startNms();
    unsteady_ = startNms();
    ASSERT_TRUE(steady_->waitUntilLoggedIn()) << steady_->output();
    ASSERT_TRUE(unsteady_->waitUntilLoggedIn()) << unsteady_->output();
    for (const Step& step : history) {
        perform(step);
        if (HasFailure())
            return;
    }
    unsteady_->process().thaw();
    expectAgreement();
}

}  // namespace
}  // namespace kelp::test
