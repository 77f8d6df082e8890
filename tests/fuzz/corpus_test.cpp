// Replays every input of the seed corpus in every build, so that faults once found by the fuzzer
// stay fixed.

#include <gtest/gtest.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <vector>

#include "support/temporary_directory.h"
#include "targets.h"

namespace kelp::fuzz {
namespace {

struct Target {
    const char* name;
    void (*run)(Input);
};

void PrintTo(const Target& target, std::ostream* out) {
    *out << target.name;
}

constexpr Target kTargets[] = {
    {"alarm_record", fuzzAlarmRecord},
    {"arguments", fuzzArguments},
    {"configuration", fuzzConfiguration},
    {"framing", fuzzFraming},
    {"naming", fuzzNaming},
    {"networks", fuzzNetworks},
    {"peer_address", fuzzPeerAddress},
    {"reference", fuzzReference},
    {"tagged_text", fuzzTaggedText},
    {"time_text", fuzzTimeText},
};

void feed(const Target& target, const std::string& bytes) {
    target.run({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

std::vector<std::filesystem::path> inputsOf(const Target& target) {
    std::vector<std::filesystem::path> inputs;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(CORPUS) / target.name))
        inputs.push_back(entry.path());
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

class Corpus : public testing::TestWithParam<Target> {};

TEST_P(Corpus, EveryInputKeepsTheProperties) {
    const std::vector<std::filesystem::path> inputs = inputsOf(GetParam());
    EXPECT_GE(inputs.size(), 3u);
    for (const std::filesystem::path& input : inputs)
        EXPECT_NO_THROW(feed(GetParam(), test::contentOf(input))) << input;
}

/// The beginning of an input is a further input, which ends unexpectedly.
TEST_P(Corpus, EveryPrefixOfAnInputKeepsTheProperties) {
    for (const std::filesystem::path& input : inputsOf(GetParam())) {
        const std::string bytes = test::contentOf(input);
        const std::size_t step = 1 + bytes.size() / 100;
        for (std::size_t length = 0; length < bytes.size(); length += step)
            ASSERT_NO_THROW(feed(GetParam(), bytes.substr(0, length)))
                << input << " up to " << length;
    }
}

INSTANTIATE_TEST_SUITE_P(Targets, Corpus, testing::ValuesIn(kTargets),
                         [](const testing::TestParamInfo<Target>& each) {
                             return each.param.name;
                         });

}  // namespace
}  // namespace kelp::fuzz
