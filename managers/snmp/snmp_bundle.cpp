#include <ace/svc_export.h>
#include <kelp/admin/metrics.h>
#include <kelp/admin/registry.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/bundlemgr/service_object.h>
#include <kelp/traps/receiver.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "alarm_submission.h"

namespace kelp::snmp {

namespace {

constexpr const char* kSubject = "snmpbundle";

/// Trace the problems, and throw if there are any.
void require(const std::vector<std::string>& problems, const std::string& what) {
    for (const std::string& each : problems)
        util::traceFrom(kSubject, each);
    if (!problems.empty())
        throw std::runtime_error(what + ": " + problems.front());
}

traps::Mapping readMapping(const std::vector<std::string>& files) {
    std::vector<traps::MappingProblem> problems;
    traps::Mapping mapping = traps::Mapping::read({files.begin(), files.end()}, problems);
    std::vector<std::string> texts;
    texts.reserve(problems.size());
    for (const traps::MappingProblem& each : problems)
        texts.push_back(each.text());
    require(texts, "the mapping of traps is wrong");
    return mapping;
}

util::TokenBuckets::Limits limitsOf(std::int64_t number, double seconds, std::int64_t burst) {
    return {static_cast<double>(number) / seconds, static_cast<double>(burst)};
}

traps::ReceiverSettings readSettings() {
    const NS_BUNDLEMGR1::ConfigStore& config = NS_BUNDLEMGR1::ConfigStore::instance();
    traps::ReceiverSettings settings;
    settings.listen = config.texts("snmp.listen");
    settings.sources = config.texts("snmp.sources");
    settings.ems = config.text("ems.name");
    settings.mapping = readMapping(config.texts("snmp.mappings"));
    std::vector<std::string> problems;
    if (const std::string file = config.text("snmp.communities_file"); !file.empty())
        settings.communities = traps::readCommunities(file, problems);
    if (const std::string file = config.text("snmp.users_file"); !file.empty())
        settings.users = traps::readUsers(file, problems);
    require(problems, "the senders of traps are wrong");
    settings.queueMax = static_cast<std::size_t>(config.integer("snmp.queue_max"));
    settings.perSource = limitsOf(config.integer("snmp.messages_per_second"), 1,
                                  config.integer("snmp.messages_burst"));
    const std::int64_t unknown = config.integer("snmp.unknown_per_minute");
    settings.unknownPerSource = limitsOf(unknown, 60, unknown);
    settings.engine = traps::startEngine(NS_BUNDLEMGR1::defaultStateDirectory() / "snmp-engine");
    return settings;
}

}  // namespace

/// The service object of the bundle kelp_snmp. It receives nothing unless [snmp] listen has an
/// address. While it is loaded it answers GET /snmp of the operator's interface with its counts.
class SnmpBundle final : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    SnmpBundle() : ServiceObjectBase("kelp_snmp_bundle", "kelp_snmp") {}

    int init(int, char*[]) override {
        try {
            if (!NS_BUNDLEMGR1::ConfigStore::instance().texts("snmp.listen").empty())
                receiver_.emplace(readSettings(),
                                  [this](const std::vector<traps::Submission>& all) {
                                      return submitAlarms(intake_, all);
                                  });
            counts_ = admin::Registry::instance().enter(
                "GET", "/snmp", [this](const admin::Json&) { return counts(); });
            metrics_ = admin::Metrics::instance().enter("snmp", [this] { return metrics(); });
        } catch (...) {
            util::traceFrom(kSubject, "kelp_snmp cannot start: " + util::currentExceptionText());
            receiver_.reset();
            return -1;
        }
        return 0;
    }

    int fini() override { return 0; }

    void Shutdown() override {
        metrics_.leave();
        counts_.leave();
        receiver_.reset();
    }

  private:
    admin::Json counts() const {
        admin::Json answer = admin::Json::object();
        if (!receiver_)
            return answer;
        for (const auto& [name, count] : receiver_->counts())
            answer[name] = count;
        return answer;
    }

    std::vector<admin::Metric> metrics() const {
        if (!receiver_)
            return {};
        admin::Metric messages{"kelp_snmp_messages_total",
                               "SNMP messages and what became of them; a message has several",
                               admin::MetricKind::Counter};
        for (const auto& [name, count] : receiver_->counts())
            messages.samples.push_back({static_cast<double>(count), {{"outcome", name}}});
        return {std::move(messages)};
    }

    const alarms::Intake intake_{"snmp"};
    std::optional<traps::Receiver> receiver_;
    admin::Registration counts_;
    admin::Registration metrics_;
};

}  // namespace kelp::snmp

ACE_FACTORY_NAMESPACE_DEFINE(ACE_Svc, kelp_snmp, kelp::snmp::SnmpBundle)
