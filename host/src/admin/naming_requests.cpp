#include "admin/naming_requests.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/naming_findings.h>
#include <kelp/oplog/log_entry.h>
#include <kelp/orb/references.h>
#include <kelp/util/naming_path.h>
#include <kelp/util/trace_log.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "naming_settings.h"

namespace kelp::host {

namespace {

using NS_BUNDLEMGR1::ConfigStore;
using NS_CORBA::CorbaBaseAgentConfig;

/// Return an address of the naming service, or an empty text when this transport is not used.
std::string addressOf(const char* portKey, bool isUsed) {
    const ConfigStore& config = ConfigStore::instance();
    const auto port = static_cast<std::uint16_t>(config.integer(portKey));
    return isUsed && port != 0 ? orb::hostAndPort({config.text("naming.host"), port, false}) : "";
}

std::string timeOf(const std::optional<NS_CORBA::NamingEntryState::Time>& time) {
    return time ? oplog::timeText(std::chrono::floor<std::chrono::milliseconds>(*time)) : "";
}

}  // namespace

admin::Json tellNaming(const admin::Json&) {
    const ConfigStore& config = ConfigStore::instance();
    const CorbaBaseAgentConfig& base = *CorbaBaseAgentConfig::Instance();
    const bool isEmbedded = base.IsNamingServiceEmbedded();
    const std::int64_t tlsMode = config.integer("tls.mode");
    // an embedded naming service serves both transports; of an external one the agent uses only one
    const bool usesTcp = isEmbedded ? tlsMode != kTlsOnly : tlsMode == kTlsOff;
    admin::Json aliases = admin::Json::array();
    if (isEmbedded) {
        for (const std::string& alias : config.texts("naming.aliases"))
            aliases.push_back(alias);
    }
    const NS_CORBA::NamingEntryState entry = NS_CORBA::NamingFindings::Instance().State();
    return {{"mode", isEmbedded ? "embedded" : "external"},
            {"address", addressOf("naming.port", usesTcp)},
            {"tlsAddress", addressOf("naming.ssl_port", tlsMode != kTlsOff)},
            {"path", toText(util::factoryPath(base.EmsName(), base.IDLVersion()))},
            {"aliases", aliases},
            {"iorFile", config.text("naming.ior_file")},
            {"reference", entry.reference},
            {"ours", entry.isOurs},
            {"since", timeOf(entry.boundSince)},
            {"checked", timeOf(entry.checked)},
            {"failure", entry.failure},
            {"lastFailure", entry.lastFailure},
            {"lastFailureAt", timeOf(entry.lastFailureAt)},
            {"replaced", entry.replaced},
            {"replacedAt", timeOf(entry.replacedAt)},
            {"foreign", entry.foreign}};
}

}  // namespace kelp::host
