#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/bundlemgr/config_schema.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/bundlemgr/error_catalogue.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "support/temporary_directory.h"

namespace {

using NS_BUNDLEMGR1::ConfigKey;
using NS_BUNDLEMGR1::configKeys;
using NS_BUNDLEMGR1::ConfigStore;
using NS_BUNDLEMGR1::configTables;

const std::filesystem::path kConfig = std::filesystem::path(SHIPPED_CONFIG_DIR) / "kelp.toml";
const std::filesystem::path kErrors = std::filesystem::path(SHIPPED_CONFIG_DIR) / "errors.toml";

TEST(ShippedConfiguration, MatchesTheSchema) {
    EXPECT_EQ(kelp::test::contentOf(kConfig), NS_BUNDLEMGR1::configTemplate());
}

TEST(ShippedConfiguration, HasNoProblemAndChangesNoDefault) {
    EXPECT_THAT(ConfigStore::check(kConfig), testing::IsEmpty());
    ConfigStore& store = ConfigStore::instance();
    ASSERT_THAT(store.load(kConfig), testing::IsEmpty());
    for (const ConfigKey& key : configKeys()) {
        if (key.isAgentOption()) {
            EXPECT_FALSE(store.agentInteger(key.key) || store.agentText(key.key)) << key.name();
        } else if (const auto* number = std::get_if<std::int64_t>(&key.standard)) {
            EXPECT_EQ(store.integer(key.name()), *number) << key.name();
        } else if (const auto* flag = std::get_if<bool>(&key.standard)) {
            EXPECT_EQ(store.flag(key.name()), *flag) << key.name();
        } else if (const auto* text = std::get_if<std::string>(&key.standard)) {
            EXPECT_EQ(store.text(key.name()), *text) << key.name();
        } else {
            EXPECT_EQ(store.texts(key.name()), std::get<std::vector<std::string>>(key.standard))
                << key.name();
        }
    }
}

TEST(ShippedConfiguration, AgentOptionsAreValidWhenUncommented) {
    std::string text = kelp::test::contentOf(kConfig);
    for (const ConfigKey& key : configKeys()) {
        const std::string commented = "\n# " + key.key + " = ";
        if (!key.isAgentOption())
            continue;
        const std::size_t at = text.find(commented);
        ASSERT_NE(at, std::string::npos) << key.name();
        text.erase(at + 1, 2);
    }
    const kelp::test::TemporaryDirectory directory;
    const auto file = directory.write("kelp.toml", text);
    EXPECT_THAT(ConfigStore::check(file), testing::IsEmpty());
    ASSERT_THAT(ConfigStore::instance().load(file), testing::IsEmpty());
    EXPECT_EQ(ConfigStore::instance().agentInteger("NotifyModel"), 3);
    EXPECT_EQ(ConfigStore::instance().agentText("FTP_TrustedCer"),
              "../conf/certificate/ca_cert.cer");
}

TEST(ConfigSchema, EveryKeyIsExplainedAndItsDefaultIsInRange) {
    for (const ConfigKey& key : configKeys()) {
        EXPECT_FALSE(key.meaning.empty()) << key.name();
        EXPECT_EQ(key.meaning.back(), '.') << key.name();
        if (const auto* number = std::get_if<std::int64_t>(&key.standard)) {
            EXPECT_LE(key.minimum, *number) << key.name();
            EXPECT_GE(key.maximum, *number) << key.name();
        }
        EXPECT_EQ(NS_BUNDLEMGR1::findConfigKey(key.name()), &key) << "the name is there once";
        EXPECT_TRUE(std::any_of(configTables().begin(), configTables().end(),
                                [&](const auto& table) { return table.name == key.table; }))
            << key.name();
    }
    EXPECT_EQ(NS_BUNDLEMGR1::findConfigKey("session.nothing"), nullptr);
}

TEST(ShippedErrorCatalogue, HasATextForEveryCodeThatIsThrownAndForEveryRange) {
    NS_BUNDLEMGR1::ErrorCatalogue catalogue;
    const auto problems = catalogue.load(kErrors);
    ASSERT_TRUE(problems.empty()) << problems.front().text();
    for (const unsigned long code :
         {0x411800BAul, 0x411800BEul, 0x41180053ul, 0x4118005Ful, 0x41180039ul, 0x41180102ul,
          0x41180032ul, 0x048FFFA3ul, 0x048FFFA4ul, 0x048FFFA5ul, 0x048FFFA6ul, 0x048FFFA7ul,
          0x048FFFA8ul, 0x048FFFA9ul, 0x048FFFAAul, 0x048FFFABul, 0x41180057ul, 0x411800C7ul,
          0x411800CAul, 0x411800CBul, 0x411800E9ul, 0x411800EAul, 0x411800EBul, 0x411800EDul,
          0x411800FCul, 0x411800FDul, 0x411800FFul, 0x41180103ul, 0x048AFFFAul, 0x41000000ul}) {
        std::string text;
        EXPECT_TRUE(catalogue.GetErrorText(code, text)) << std::hex << code;
        EXPECT_TRUE(text.ends_with('.')) << text;
    }
}

}  // namespace
