#include "audit_use.h"

#include <kelp/corbabase/audit_trail.h>

#include <utility>

namespace kelp::host {

namespace {

void note(const std::string& key, const std::string& outcome, const std::string& detail) {
    oplog::SecurityRecord record;
    record.event = oplog::SecurityEvent::ConfigurationChange;
    record.object = key;
    record.outcome = outcome;
    record.detail = detail;
    NS_CORBA::AuditTrail::Instance().Write(std::move(record));
}

std::string shown(const std::string& value) {
    return value.empty() ? "its default" : value;
}

}  // namespace

AuditUse::AuditUse(const std::filesystem::path& configFile) {
    NS_CORBA::AuditTrail::Instance().Open();
    note(configFile.empty() ? "the defaults" : configFile.string(), NS_CORBA::kOutcomeOk,
         "read at the start");
}

AuditUse::~AuditUse() {
    NS_CORBA::AuditTrail::Instance().Close();
}

void noteConfigurationRead(const std::vector<NS_BUNDLEMGR1::ConfigChange>& changes,
                           const std::string& problem) {
    const std::string file = NS_BUNDLEMGR1::ConfigStore::instance().file().string();
    if (!problem.empty()) {
        note(file, "refused", problem);
        return;
    }
    note(file, NS_CORBA::kOutcomeOk,
         "read again, " + std::to_string(changes.size()) + " change(s)");
    for (const NS_BUNDLEMGR1::ConfigChange& each : changes)
        note(each.key, NS_CORBA::kOutcomeOk, shown(each.before) + " -> " + shown(each.after));
    NS_CORBA::AuditTrail::Instance().UpdateRetention();
}

}  // namespace kelp::host
