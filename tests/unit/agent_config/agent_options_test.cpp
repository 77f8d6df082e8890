#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/agent/corba_agent_config.h>
#include <kelp/bundlemgr/config_store.h>

#include <atomic>
#include <functional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "support/trace_capture.h"

namespace NS_KELPCORBA {
namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;

/// An agent's configuration, read from a configuration store with an [agent] table.
class AgentOptions : public testing::Test {
  protected:
    ~AgentOptions() override { CorbaAgentConfig::Destroy(); }

    static void store(const std::string& agentTable) {
        NS_BUNDLEMGR1::ConfigStore::instance().loadText("[agent]\n" + agentTable, "test.toml");
    }
    static CorbaAgentConfig& read(const std::string& agentTable) {
        store(agentTable);
        EXPECT_TRUE(config().Init());
        return config();
    }
    static CorbaAgentConfig& config() { return *CorbaAgentConfig::Instance(); }

    /// Return the trace lines of this subject.
    static std::vector<std::string> traced(const kelp::test::TraceCapture& trace) {
        std::vector<std::string> lines;
        for (const kelp::util::TraceLine& line : trace.records()) {
            if (line.file == "corbaagentconfig")
                lines.push_back(line.text);
        }
        return lines;
    }
};

TEST_F(AgentOptions, BeforeTheFirstReadAreTheBuiltInDefaults) {
    const CorbaAgentConfig& options = config();
    EXPECT_EQ(options.GetMaxSupportNE(), "");
    EXPECT_EQ(options.FTP_TrustedCer(), "../conf/certificate/ca_cert.cer");
    EXPECT_EQ(options.FTP_ClientCer(), "../conf/certificate/corbaagent.cer");
    EXPECT_EQ(options.FTP_PrivateKey(), "../conf/certificate/corbaagent.cer");
    EXPECT_EQ(options.FTP_Type(), 0);
    EXPECT_EQ(options.FTP_SSL_ConnectMode(), 18);
    EXPECT_EQ(options.FTP_SSL_AuthMode(), 1);
    EXPECT_EQ(options.FTP_Port(), 22);
    EXPECT_EQ(options.GetNotifyModel(), 3);
    EXPECT_EQ(options.GetResourceNameType(), 0);
    EXPECT_EQ(options.GetFilterResourceIDLevel(), 0);
    EXPECT_EQ(options.GetCachesize(), 1000);
    EXPECT_EQ(options.GetEventlistsize(), 500);
    EXPECT_EQ(options.GetNotifyalarmscache(), 1000);
    EXPECT_EQ(options.GetCharacterSetSwitch(), 0);
    EXPECT_EQ(options.GetAlarmTCASwitch(), 0);
    EXPECT_EQ(options.GetAccTestSwitch(), 0);
    EXPECT_EQ(options.GetAccDevCompatibility(), 0);
    EXPECT_EQ(options.GetHeartbeatEventType(), 0);
    EXPECT_EQ(options.GetAlarmCompatibility(), 0);
    EXPECT_EQ(options.GetAlarmReportSub(), 0);
    EXPECT_FALSE(options.IsUseBTName());
    EXPECT_FALSE(options.IsUseNuzakummokRule());
    EXPECT_FALSE(options.IsUsePhysicalID());
    EXPECT_FALSE(options.IsReportCrossConn());
    EXPECT_FALSE(options.IsReportAckAlarm());
    EXPECT_FALSE(options.GetTasizeisfaf());
    EXPECT_FALSE(options.isAlarmProbableCauseQualifierCompatible());
}

TEST_F(AgentOptions, OfAnEmptyStoreKeepTheirDefaultsOrFallBack) {
    const CorbaAgentConfig& options = read("");
    EXPECT_EQ(options.GetMaxSupportNE(), "");
    EXPECT_EQ(options.FTP_TrustedCer(), "../conf/certificate/ca_cert.cer");
    EXPECT_EQ(options.FTP_ClientCer(), "../conf/certificate/corbaagent.cer");
    EXPECT_EQ(options.FTP_PrivateKey(), "../conf/certificate/corbaagent.cer");
    EXPECT_EQ(options.FTP_Type(), 0);
    EXPECT_EQ(options.FTP_SSL_ConnectMode(), 18);
    EXPECT_EQ(options.FTP_SSL_AuthMode(), 1);
    EXPECT_EQ(options.FTP_Port(), 22);
    EXPECT_EQ(options.GetResourceNameType(), 0);
    EXPECT_EQ(options.GetNotifyModel(), 3);
    EXPECT_EQ(options.GetFilterResourceIDLevel(), 0);
    EXPECT_EQ(options.GetHeartbeatEventType(), 0);
    EXPECT_EQ(options.GetAlarmCompatibility(), 0);
    EXPECT_EQ(options.GetCachesize(), 10000);
    EXPECT_EQ(options.GetEventlistsize(), 500);
    EXPECT_EQ(options.GetNotifyalarmscache(), 10000);
    EXPECT_EQ(options.GetCharacterSetSwitch(), 0);
    EXPECT_TRUE(options.isAlarmProbableCauseQualifierCompatible());
    EXPECT_EQ(options.GetAlarmTCASwitch(), 0);
    EXPECT_FALSE(options.IsUseBTName());
    EXPECT_FALSE(options.GetTasizeisfaf());
    EXPECT_EQ(options.GetAccDevCompatibility(), 0);
    EXPECT_EQ(options.GetAccTestSwitch(), 0);
    EXPECT_EQ(options.GetAlarmReportSub(), 0);
}

TEST_F(AgentOptions, OfAnEmptyStoreTraceEveryFailedReadInOrder) {
    const kelp::test::TraceCapture trace;
    read("");
    const std::vector<std::string> names = {
        "bUseBTName_Option",
        "bUseNuzakummokRule_Option",
        "MaxSupportNE_Option",
        "IsSwitchToPhyID_Option",
        "FTP_Type",
        "FTP_SSL_ConnectMode",
        "FTP_SSL_AuthMode",
        "FTP_Port",
        "FTP_TrustedCer",
        "FTP_ClientCer",
        "FTP_ClientCer",  // for FTP_PrivateKey
        "bReportCrossConn",
        "bReportAckAlarm",
        "ResourceNameType",
        "NotifyModel",
        "FilterResourceIDLevel",
        "HeartbeatEventType",
        "HeartbeatEventType",  // for AlarmCompatibility
        "Tasizeisfaf",
        "Cachesize",
        "Eventlistsize",
        "Notifyalarmscache",
        "CharacterSetSwitch",
        "m_bAlarmTCASwitch",
        "bAccDevCompatibility",
        "IsReportSubnet",
    };
    std::vector<std::string> lines;
    for (const std::string& name : names)
        lines.push_back("[CorbaAgentConfig::GetOption] Get " + name + " failed!");
    EXPECT_THAT(traced(trace), ElementsAreArray(lines));
}

TEST_F(AgentOptions, FailedReadsAreDiagnosticsOfLevelTwo) {
    const kelp::test::TraceCapture trace;
    read("");
    for (const kelp::util::TraceLine& line : trace.records()) {
        if (line.file != "corbaagentconfig")
            continue;
        EXPECT_EQ(line.kind, kelp::util::TraceKind::Debug);
        EXPECT_EQ(line.level, 2);
        EXPECT_EQ(line.function, "unknown");
        EXPECT_GT(line.line, 0);
    }
}

TEST_F(AgentOptions, MissingPrivateKeyIsTracedAsTheClientCertificate) {
    const kelp::test::TraceCapture trace;
    read("FTP_ClientCer = \"client.pem\"");
    EXPECT_EQ(trace.count("[CorbaAgentConfig::GetOption] Get FTP_ClientCer failed!"), 1u);
    EXPECT_FALSE(trace.contains("FTP_PrivateKey failed"));
}

struct NumberKey {
    const char* key;
    std::function<std::int32_t(const CorbaAgentConfig&)> accessor;
    std::int32_t missing;  ///< value after a read without the key
    bool kept;             ///< whether a later read without the key keeps the value
};

void PrintTo(const NumberKey& key, std::ostream* out) {
    *out << key.key;
}

class NumberOption : public AgentOptions, public testing::WithParamInterface<NumberKey> {};

TEST_P(NumberOption, IsTheNumberUnderItsKey) {
    const NumberKey& key = GetParam();
    EXPECT_EQ(key.accessor(read(std::string(key.key) + " = 4711")), 4711);
    EXPECT_EQ(key.accessor(read(std::string(key.key) + " = -1")), -1);
}

TEST_P(NumberOption, WithoutItsKeyIsKeptOrFallsBack) {
    const NumberKey& key = GetParam();
    EXPECT_EQ(key.accessor(read("")), key.missing);
    read(std::string(key.key) + " = 4711");
    EXPECT_EQ(key.accessor(read("")), key.kept ? 4711 : key.missing);
}

TEST_P(NumberOption, OfAnotherTypeCountsAsMissing) {
    const NumberKey& key = GetParam();
    EXPECT_EQ(key.accessor(read(std::string(key.key) + " = \"4711\"")), key.missing);
}

using Config = CorbaAgentConfig;
INSTANTIATE_TEST_SUITE_P(
    Keys, NumberOption,
    testing::Values(NumberKey{"FTP_Type", &Config::FTP_Type, 0, true},
                    NumberKey{"FTP_SSL_ConnectMode", &Config::FTP_SSL_ConnectMode, 18, true},
                    NumberKey{"FTP_SSL_AuthMode", &Config::FTP_SSL_AuthMode, 1, true},
                    NumberKey{"FTP_Port", &Config::FTP_Port, 22, true},
                    NumberKey{"ResourceNameType", &Config::GetResourceNameType, 0, false},
                    NumberKey{"NotifyModel", &Config::GetNotifyModel, 3, false},
                    NumberKey{"FilterResourceIDLevel", &Config::GetFilterResourceIDLevel, 0, false},
                    NumberKey{"HeartbeatEventType", &Config::GetHeartbeatEventType, 0, false},
                    NumberKey{"AlarmCompatibility", &Config::GetAlarmCompatibility, 0, false},
                    NumberKey{"Cachesize", &Config::GetCachesize, 10000, false},
                    NumberKey{"Eventlistsize", &Config::GetEventlistsize, 500, false},
                    NumberKey{"Notifyalarmscache", &Config::GetNotifyalarmscache, 10000, false},
                    NumberKey{"CharacterSetSwitch", &Config::GetCharacterSetSwitch, 0, false},
                    NumberKey{"AlarmWithTCA", &Config::GetAlarmTCASwitch, 0, false},
                    NumberKey{"bAccDevCompatibility", &Config::GetAccDevCompatibility, 0, true},
                    NumberKey{"IsReportSubnet", &Config::GetAlarmReportSub, 0, true}),
    [](const auto& test) { return std::string(test.param.key); });

struct SwitchKey {
    const char* key;
    std::function<bool(const CorbaAgentConfig&)> accessor;
    bool missing;
    bool kept;
};

void PrintTo(const SwitchKey& key, std::ostream* out) {
    *out << key.key;
}

class SwitchOption : public AgentOptions, public testing::WithParamInterface<SwitchKey> {};

TEST_P(SwitchOption, IsOnForEveryNumberButZero) {
    const SwitchKey& key = GetParam();
    EXPECT_TRUE(key.accessor(read(std::string(key.key) + " = 2")));
    EXPECT_FALSE(key.accessor(read(std::string(key.key) + " = 0")));
    EXPECT_TRUE(key.accessor(read(std::string(key.key) + " = 1")));
    EXPECT_TRUE(key.accessor(read(std::string(key.key) + " = -1")));
}

TEST_P(SwitchOption, WithoutItsKeyIsKeptOrFallsBack) {
    const SwitchKey& key = GetParam();
    EXPECT_EQ(key.accessor(read("")), key.missing);
    for (const bool before : {true, false}) {
        read(std::string(key.key) + (before ? " = 1" : " = 0"));
        EXPECT_EQ(key.accessor(read("")), key.kept ? before : key.missing);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Keys, SwitchOption,
    testing::Values(SwitchKey{"bUseBTName", &Config::IsUseBTName, false, true},
                    SwitchKey{"bUseNuzakummokRule", &Config::IsUseNuzakummokRule, false, true},
                    SwitchKey{"IsSwitchToPhyID", &Config::IsUsePhysicalID, false, true},
                    SwitchKey{"bReportCrossConn", &Config::IsReportCrossConn, false, true},
                    SwitchKey{"bReportAckAlarm", &Config::IsReportAckAlarm, false, true},
                    SwitchKey{"Tasizeisfaf", &Config::GetTasizeisfaf, false, true},
                    SwitchKey{"IsAlarmProbableCauseQualifierCompatible",
                              &Config::isAlarmProbableCauseQualifierCompatible, true, false}),
    [](const auto& test) { return std::string(test.param.key); });

struct TextKey {
    const char* key;
    std::function<std::string(const CorbaAgentConfig&)> accessor;
};

void PrintTo(const TextKey& key, std::ostream* out) {
    *out << key.key;
}

class TextOption : public AgentOptions, public testing::WithParamInterface<TextKey> {};

TEST_P(TextOption, IsTheTextUnderItsKeyAndKeptWithoutIt) {
    const TextKey& key = GetParam();
    EXPECT_EQ(key.accessor(read(std::string(key.key) + " = \"/some/where\"")), "/some/where");
    EXPECT_EQ(key.accessor(read("")), "/some/where");
    EXPECT_EQ(key.accessor(read(std::string(key.key) + " = 5")), "/some/where");
    EXPECT_EQ(key.accessor(read(std::string(key.key) + " = \"\"")), "");
}

INSTANTIATE_TEST_SUITE_P(Keys, TextOption,
                         testing::Values(TextKey{"MaxSupportNE", &Config::GetMaxSupportNE},
                                         TextKey{"FTP_TrustedCer", &Config::FTP_TrustedCer},
                                         TextKey{"FTP_ClientCer", &Config::FTP_ClientCer},
                                         TextKey{"FTP_PrivateKey", &Config::FTP_PrivateKey}),
                         [](const auto& test) { return std::string(test.param.key); });

TEST_F(AgentOptions, OneUnreadableKeyDoesNotStopTheOthers) {
    const CorbaAgentConfig& options =
        read("bUseBTName = 1\nFTP_Type = \"no number\"\nIsReportSubnet = 5");
    EXPECT_TRUE(options.IsUseBTName());
    EXPECT_EQ(options.FTP_Type(), 0);
    EXPECT_EQ(options.GetAlarmReportSub(), 5);
}

TEST_F(AgentOptions, ReportSubnetIsTracedWhenReadAndOnEveryAccess) {
    const kelp::test::TraceCapture trace;
    read("IsReportSubnet = 5");
    const std::string text = "[CorbaAgentConfig::GetOption] Get IsReportSubnet is 5!";
    EXPECT_EQ(trace.count(text), 1u);
    config().GetAlarmReportSub();
    config().GetAlarmReportSub();
    EXPECT_EQ(trace.count(text), 3u);
    EXPECT_EQ(trace.records().back().level, 3);
}

TEST_F(AgentOptions, MissingReportSubnetIsTracedAsAFailureOnly) {
    const kelp::test::TraceCapture trace;
    read("");
    EXPECT_FALSE(trace.contains("Get IsReportSubnet is"));
    EXPECT_EQ(trace.count("[CorbaAgentConfig::GetOption] Get IsReportSubnet failed!"), 1u);
}

TEST_F(AgentOptions, AreReadAgainByReConfig) {
    EXPECT_EQ(read("Cachesize = 5").GetCachesize(), 5);
    store("Cachesize = 6");
    EXPECT_EQ(config().GetCachesize(), 5);
    EXPECT_TRUE(config().ReConfig());
    EXPECT_EQ(config().GetCachesize(), 6);
}

TEST_F(AgentOptions, OfADestroyedConfigurationAreTheDefaultsAgain) {
    read("Cachesize = 5");
    CorbaAgentConfig::Destroy();
    EXPECT_EQ(config().GetCachesize(), 1000);
}

TEST_F(AgentOptions, CanBeReadWhileTheyAreReadAgain) {
    read("FTP_ClientCer = \"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\"\nCachesize = 1");
    std::atomic<bool> stop{false};
    std::atomic<int> torn{0};
    std::vector<std::jthread> readers;
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([&] {
            while (!stop) {
                const std::string text = config().FTP_ClientCer();
                const std::int32_t number = config().GetCachesize();
                torn += text.find_first_not_of(text[0]) != std::string::npos ? 1 : 0;
                torn += number != 1 && number != 2 ? 1 : 0;
            }
        });
    }
    for (int i = 0; i < 200; ++i) {
        read(i % 2 == 0
                 ? "FTP_ClientCer = "
                   "\"bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb\"\nCachesize = 2"
                 : "FTP_ClientCer = \"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\"\nCachesize = 1");
    }
    stop = true;
    readers.clear();
    EXPECT_EQ(torn, 0);
}

}  // namespace
}  // namespace NS_KELPCORBA
