// The agent's options: one row a key, read in the table's order.

#include <kelp/agent/corba_agent_config.h>

#include "corbaenv/lazy_instance.h"
#include "util/tracepoint.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/trace.h>

#include <ace/Guard_T.h>

#include <optional>
#include <variant>

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "corbaagentconfig";

constinit LazyInstance<CorbaAgentConfig> config;

void traceReportSubnet(std::int32_t value) {
    tracePoint(kSubject);
    NS_CORBA::TaDebugWithPara(3, "[CorbaAgentConfig::GetOption] Get IsReportSubnet is %d!", value);
}

}  // namespace

/// A key of the [agent] table and the member that it fills. A switch is on when the number is not 0.
struct CorbaAgentConfig::Option {
    using Target =
        std::variant<Number CorbaAgentConfig::*, Switch CorbaAgentConfig::*, std::string CorbaAgentConfig::*>;

    const char* key;
    Target target;
    const char* nameInTrace;               ///< what the trace of a failed read calls the key; null: no trace
    std::optional<std::int32_t> fallback;  ///< taken when the read fails; none: the value is kept

    bool isText() const { return std::holds_alternative<std::string CorbaAgentConfig::*>(target); }
};

const CorbaAgentConfig::Option CorbaAgentConfig::kOptions[] = {
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
    {"FTP_PrivateKey", &CorbaAgentConfig::ftpPrivateKey_, "FTP_ClientCer", {}},  // so named on purpose
    {"bReportCrossConn", &CorbaAgentConfig::reportCrossConn_, "bReportCrossConn", {}},
    {"bReportAckAlarm", &CorbaAgentConfig::reportAckAlarm_, "bReportAckAlarm", {}},
    {"ResourceNameType", &CorbaAgentConfig::resourceNameType_, "ResourceNameType", 0},
    {"NotifyModel", &CorbaAgentConfig::notifyModel_, "NotifyModel", 3},
    {"FilterResourceIDLevel", &CorbaAgentConfig::filterResourceIdLevel_, "FilterResourceIDLevel", 0},
    {"HeartbeatEventType", &CorbaAgentConfig::heartbeatEventType_, "HeartbeatEventType", 0},
    {"AlarmCompatibility", &CorbaAgentConfig::alarmCompatibility_, "HeartbeatEventType",
     0},  // so named on purpose
    {"Tasizeisfaf", &CorbaAgentConfig::tasizeisfaf_, "Tasizeisfaf", {}},
    {"Cachesize", &CorbaAgentConfig::cacheSize_, "Cachesize", 10000},
    {"Eventlistsize", &CorbaAgentConfig::eventListSize_, "Eventlistsize", 500},
    {"Notifyalarmscache", &CorbaAgentConfig::notifyAlarmsCache_, "Notifyalarmscache", 10000},
    {"CharacterSetSwitch", &CorbaAgentConfig::characterSetSwitch_, "CharacterSetSwitch", 0},
    {"IsAlarmProbableCauseQualifierCompatible", &CorbaAgentConfig::probableCauseQualifierCompatible_, nullptr,
     1},
    {"AlarmWithTCA", &CorbaAgentConfig::alarmTcaSwitch_, "m_bAlarmTCASwitch", 0},
    {"bAccDevCompatibility", &CorbaAgentConfig::accDevCompatibility_, "bAccDevCompatibility", {}},
    {"IsReportSubnet", &CorbaAgentConfig::reportSubnet_, "IsReportSubnet", {}},
};

CorbaAgentConfig* CorbaAgentConfig::Instance() {
    return config.get([] { return new CorbaAgentConfig; });
}

void CorbaAgentConfig::Destroy() {
    config.destroy([](CorbaAgentConfig* made) { delete made; });
}

bool CorbaAgentConfig::Init() {
    return ReConfig();
}

bool CorbaAgentConfig::ReConfig() {
    return GetOption();
}

bool CorbaAgentConfig::GetOption() {
    for (const Option& option : kOptions) {
        if (option.isText() ? ReadText(option) : ReadNumber(option))
            continue;
        if (option.fallback)
            StoreNumber(option, *option.fallback);
        if (option.nameInTrace != nullptr) {
            tracePoint(kSubject);
            NS_CORBA::TaDebug(
                2, (std::string("[CorbaAgentConfig::GetOption] Get ") + option.nameInTrace + " failed!")
                       .c_str());
        }
    }
    return true;
}

bool CorbaAgentConfig::ReadNumber(const Option& option) {
    int value = 0;
    if (!NS_BUNDLEMGR1::CorbaConfigItems::Instance()->GetIntItemInfo(option.key, value))
        return false;
    StoreNumber(option, value);
    if (option.target == Option::Target(&CorbaAgentConfig::reportSubnet_))
        traceReportSubnet(value);
    return true;
}

bool CorbaAgentConfig::ReadText(const Option& option) {
    std::string value;
    if (!NS_BUNDLEMGR1::CorbaConfigItems::Instance()->GetStrItemInfo(option.key, value))
        return false;
    const ACE_Guard<ACE_Thread_Mutex> guard(mutex_);
    this->*std::get<std::string CorbaAgentConfig::*>(option.target) = value;
    return true;
}

void CorbaAgentConfig::StoreNumber(const Option& option, std::int32_t value) {
    if (const auto* toggle = std::get_if<Switch CorbaAgentConfig::*>(&option.target))
        this->** toggle = value != 0;
    else
        this->*std::get<Number CorbaAgentConfig::*>(option.target) = value;
}

std::string CorbaAgentConfig::CopyOf(const std::string& text) const {
    const ACE_Guard<ACE_Thread_Mutex> guard(mutex_);
    return text;
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
std::string CorbaAgentConfig::FTP_TrustedCer() const { return CopyOf(ftpTrustedCer_); }
std::string CorbaAgentConfig::FTP_ClientCer() const { return CopyOf(ftpClientCer_); }
std::string CorbaAgentConfig::FTP_PrivateKey() const { return CopyOf(ftpPrivateKey_); }
std::string CorbaAgentConfig::GetMaxSupportNE() const { return CopyOf(maxSupportNE_); }
std::int32_t CorbaAgentConfig::GetAccDevCompatibility() const { return accDevCompatibility_; }
std::int32_t CorbaAgentConfig::GetAccTestSwitch() const { return accTestSwitch_; }
// clang-format on

}  // namespace NS_KELPCORBA
