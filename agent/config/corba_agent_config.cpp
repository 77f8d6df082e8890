// The agent's options: one table row per key, read in the order of the table.

#include <kelp/agent/corba_agent_config.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/lazy_instance.h>
#include <kelp/corbabase/trace.h>

#include <optional>
#include <variant>

namespace NS_KELPCORBA {

using kelp::util::MutexLock;

namespace {

constexpr const char* kSubject = "corbaagentconfig";

constinit NS_CORBA::LazyInstance<CorbaAgentConfig> theConfig;

void traceReportSubnet(std::int32_t value) {
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaDebugWithPara(3, "[CorbaAgentConfig::GetOption] Get IsReportSubnet is %d!", value);
}

}  // namespace

/// A key of the [agent] table and the member that stores its value. A switch is on when the number
/// is not 0.
struct CorbaAgentConfig::Option {
    using Target = std::variant<Number CorbaAgentConfig::*, Switch CorbaAgentConfig::*,
                                std::string CorbaAgentConfig::*>;

    const char* key;
    Target target;
    const char* nameInTrace;  ///< the key's name in the trace of a failed read; null: no trace
    std::optional<std::int32_t> fallback;  ///< value when the read fails; none: keep the value

    static const Option table[];

    /// Read the key. When it is missing or unreadable return false and leave the member unchanged.
    bool read(CorbaAgentConfig& into) const;
    void store(CorbaAgentConfig& into, std::int32_t value) const;
};

const CorbaAgentConfig::Option CorbaAgentConfig::Option::table[] = {
    {"bUseBTName", &CorbaAgentConfig::useBTName_, "bUseBTName_Option", {}},
    {"bUseNuzakummokRule", &CorbaAgentConfig::useNuzakummokRule_, "bUseNuzakummokRule_Option", {}},
    {"MaxSupportNE", &CorbaAgentConfig::maxSupportNE_, "MaxSupportNE_Option", {}},
    {"IsSwitchToPhyID", &CorbaAgentConfig::usePhysicalId_, "IsSwitchToPhyID_Option", {}},
    {"FTP_Type", &CorbaAgentConfig::ftpType_, "FTP_Type", {}},
    {"FTP_SSL_ConnectMode", &CorbaAgentConfig::ftpSslConnectMode_, "FTP_SSL_ConnectMode", {}},
    {"FTP_SSL_AuthMode", &CorbaAgentConfig::ftpSslAuthMode_, "FTP_SSL_AuthMode", {}},
    {"FTP_Port", &CorbaAgentConfig::ftpPort_, "FTP_Port", {}},
    {"FTP_TrustedCer", &CorbaAgentConfig::ftpTrustedCer_, "FTP_TrustedCer", {}},
    {"FTP_ClientCer", &CorbaAgentConfig::ftpClientCer_, "FTP_ClientCer", {}},
    {"FTP_PrivateKey",
     &CorbaAgentConfig::ftpPrivateKey_,
     "FTP_ClientCer",
     {}},  // deliberately the other name
    {"bReportCrossConn", &CorbaAgentConfig::reportCrossConn_, "bReportCrossConn", {}},
    {"bReportAckAlarm", &CorbaAgentConfig::reportAckAlarm_, "bReportAckAlarm", {}},
    {"ResourceNameType", &CorbaAgentConfig::resourceNameType_, "ResourceNameType", 0},
    {"NotifyModel", &CorbaAgentConfig::notifyModel_, "NotifyModel", 3},
    {"FilterResourceIDLevel", &CorbaAgentConfig::filterResourceIdLevel_, "FilterResourceIDLevel",
     0},
    {"HeartbeatEventType", &CorbaAgentConfig::heartbeatEventType_, "HeartbeatEventType", 0},
    {"AlarmCompatibility", &CorbaAgentConfig::alarmCompatibility_, "HeartbeatEventType",
     0},  // deliberately the other name
    {"Tasizeisfaf", &CorbaAgentConfig::tasizeisfaf_, "Tasizeisfaf", {}},
    {"Cachesize", &CorbaAgentConfig::cacheSize_, "Cachesize", 10000},
    {"Eventlistsize", &CorbaAgentConfig::eventListSize_, "Eventlistsize", 500},
    {"Notifyalarmscache", &CorbaAgentConfig::notifyAlarmsCache_, "Notifyalarmscache", 10000},
    {"CharacterSetSwitch", &CorbaAgentConfig::characterSetSwitch_, "CharacterSetSwitch", 0},
    {"IsAlarmProbableCauseQualifierCompatible",
     &CorbaAgentConfig::probableCauseQualifierCompatible_, nullptr, 1},
    {"AlarmWithTCA", &CorbaAgentConfig::alarmTcaSwitch_, "m_bAlarmTCASwitch", 0},
    {"bAccDevCompatibility", &CorbaAgentConfig::accDevCompatibility_, "bAccDevCompatibility", {}},
    {"IsReportSubnet", &CorbaAgentConfig::reportSubnet_, "IsReportSubnet", {}},
};

CorbaAgentConfig* CorbaAgentConfig::Instance() {
    return theConfig.get([] { return new CorbaAgentConfig; });
}

void CorbaAgentConfig::Destroy() {
    theConfig.destroy([](CorbaAgentConfig* made) { delete made; });
}

bool CorbaAgentConfig::Init() {
    return ReConfig();
}

bool CorbaAgentConfig::ReConfig() {
    return GetOption();
}

bool CorbaAgentConfig::GetOption() {
    for (const Option& option : Option::table) {
        if (option.read(*this))
            continue;
        if (option.fallback)
            option.store(*this, *option.fallback);
        if (option.nameInTrace != nullptr) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaDebug(2, (std::string("[CorbaAgentConfig::GetOption] Get ") +
                                  option.nameInTrace + " failed!")
                                     .c_str());
        }
    }
    return true;
}

bool CorbaAgentConfig::Option::read(CorbaAgentConfig& into) const {
    const auto* items = NS_BUNDLEMGR1::CorbaConfigItems::Instance();
    if (const auto* text = std::get_if<std::string CorbaAgentConfig::*>(&target)) {
        std::string value;
        if (!items->GetStrItemInfo(key, value))
            return false;
        const MutexLock lock(into.mutex_);
        into.** text = value;
        return true;
    }
    int value = 0;
    if (!items->GetIntItemInfo(key, value))
        return false;
    store(into, value);
    if (target == Target(&CorbaAgentConfig::reportSubnet_))
        traceReportSubnet(value);
    return true;
}

void CorbaAgentConfig::Option::store(CorbaAgentConfig& into, std::int32_t value) const {
    if (const auto* toggle = std::get_if<Switch CorbaAgentConfig::*>(&target))
        into.** toggle = value != 0;
    else if (const auto* number = std::get_if<Number CorbaAgentConfig::*>(&target))
        into.** number = value;
}

std::int32_t CorbaAgentConfig::GetAlarmReportSub() const {
    const std::int32_t value = reportSubnet_;
    traceReportSubnet(value);
    return value;
}

// clang-format off
bool CorbaAgentConfig::IsUseBTName() const { return useBTName_; }
bool CorbaAgentConfig::IsUseNuzakummokRule() const { return useNuzakummokRule_; }
bool CorbaAgentConfig::IsUsePhysicalID() const { return usePhysicalId_; }
std::int32_t CorbaAgentConfig::GetResourceNameType() const { return resourceNameType_; }
std::int32_t CorbaAgentConfig::GetFilterResourceIDLevel() const { return filterResourceIdLevel_; }
bool CorbaAgentConfig::IsReportCrossConn() const { return reportCrossConn_; }
bool CorbaAgentConfig::IsReportAckAlarm() const { return reportAckAlarm_; }
std::int32_t CorbaAgentConfig::GetNotifyModel() const { return notifyModel_; }
std::int32_t CorbaAgentConfig::GetHeartbeatEventType() const { return heartbeatEventType_; }
std::int32_t CorbaAgentConfig::GetAlarmCompatibility() const { return alarmCompatibility_; }
bool CorbaAgentConfig::GetTasizeisfaf() const { return tasizeisfaf_; }
std::int32_t CorbaAgentConfig::GetCachesize() const { return cacheSize_; }
std::int32_t CorbaAgentConfig::GetEventlistsize() const { return eventListSize_; }
std::int32_t CorbaAgentConfig::GetNotifyalarmscache() const { return notifyAlarmsCache_; }
std::int32_t CorbaAgentConfig::GetCharacterSetSwitch() const { return characterSetSwitch_; }
bool CorbaAgentConfig::isAlarmProbableCauseQualifierCompatible() const { return probableCauseQualifierCompatible_; }
std::int32_t CorbaAgentConfig::GetAlarmTCASwitch() const { return alarmTcaSwitch_; }
std::int32_t CorbaAgentConfig::FTP_Type() const { return ftpType_; }
std::int32_t CorbaAgentConfig::FTP_SSL_ConnectMode() const { return ftpSslConnectMode_; }
std::int32_t CorbaAgentConfig::FTP_SSL_AuthMode() const { return ftpSslAuthMode_; }
std::int32_t CorbaAgentConfig::FTP_Port() const { return ftpPort_; }
std::string CorbaAgentConfig::FTP_TrustedCer() const { const MutexLock lock(mutex_); return ftpTrustedCer_; }
std::string CorbaAgentConfig::FTP_ClientCer() const { const MutexLock lock(mutex_); return ftpClientCer_; }
std::string CorbaAgentConfig::FTP_PrivateKey() const { const MutexLock lock(mutex_); return ftpPrivateKey_; }
std::string CorbaAgentConfig::GetMaxSupportNE() const { const MutexLock lock(mutex_); return maxSupportNE_; }
std::int32_t CorbaAgentConfig::GetAccDevCompatibility() const { return accDevCompatibility_; }
std::int32_t CorbaAgentConfig::GetAccTestSwitch() const { return accTestSwitch_; }
// clang-format on

}  // namespace NS_KELPCORBA
