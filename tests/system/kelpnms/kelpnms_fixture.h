#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "harness/host.h"

namespace kelp::test {

/// The real kelpnms against a real host.
class KelpnmsTest : public testing::Test {
  protected:
    using Json = nlohmann::json;

    void startHost() {
        host_.addUser("demo");
        host_.start();
        ASSERT_TRUE(eventually([this] { return run({"find"}, false) == 0; })) << output();
    }

    std::vector<std::string> commandLine(const std::vector<std::string>& arguments,
                                         bool loggingIn = true) {
        std::vector<std::string> all = {"--naming",
                                        "127.0.0.1:" + std::to_string(host_.namingPort())};
        if (loggingIn)
            all.insert(all.end(),
                       {"--user", "demo", "--password-file", host_.passwordFile().string()});
        all.insert(all.end(), arguments.begin(), arguments.end());
        return all;
    }

    Launch launch(const std::vector<std::string>& arguments, bool loggingIn = true) {
        log_ = LogFile(scratch_ / ("output" + std::to_string(++runs_)));
        return {KELPNMS, commandLine(arguments, loggingIn), {}, log_.file(), false};
    }

    int run(const std::vector<std::string>& arguments, bool loggingIn = true) {
        return runToEnd(launch(arguments, loggingIn));
    }

    const std::string& output() { return log_.text(); }

    /// Return the output of the last run with --json.
    Json answer() { return Json::parse(output(), nullptr, false); }

    /// True if the host has destroyed as many sessions as it has created.
    bool allSessionsGone() {
        return eventually([this] {
            return host_.log().count("has been constructured!") ==
                   host_.log().count("has been destroyed!");
        });
    }

    Host host_;
    ScratchDir scratch_;
    LogFile log_{scratch_ / "output"};
    int runs_ = 0;
};

}  // namespace kelp::test
