#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "harness/child_process.h"
#include "harness/log_file.h"
#include "harness/port_lease.h"
#include "harness/scratch_dir.h"

namespace kelp::test {

/// The real kelpd with command lines and configurations of the test. A bundle that does nothing
/// replaces the agent.
class KelpdTest : public testing::Test {
  protected:
    /// Write a configuration file with the keys that every test needs and the lines in `more`.
    /// Return its path.
    std::filesystem::path configure(const std::string& more = "",
                                    const std::string& bundle = "calm_bundle") {
        const std::filesystem::path file = scratch_ / "kelp.toml";
        writeFile(file, "[naming]\nport = " + namingPort_.text() + "\n[bundles]\nload = [\"" +
                            bundle + "\"]\ndir = \"" + std::string(HOST_TEST_BUNDLES) + "\"\n" +
                            more);
        return file;
    }

    /// Run kelpd to its end. Return the exit code.
    int run(const std::vector<std::string>& arguments) {
        return runToEnd({KELPD, arguments, environment_, output_.file(), false});
    }

    /// Start kelpd and wait until it is ready.
    void start(const std::filesystem::path& config) {
        process_ = std::make_unique<ChildProcess>(
            Launch{KELPD, {"--config", config.string()}, environment_, output_.file(), false});
        ASSERT_TRUE(output_.waitFor("kelpd is ready")) << output_.text();
    }

    ScratchDir scratch_;
    PortLease namingPort_;
    LogFile output_{scratch_ / "output"};
    std::map<std::string, std::string> environment_{
        {"STATE_DIRECTORY", (scratch_ / "state").string()}};
    std::unique_ptr<ChildProcess> process_;
};

}  // namespace kelp::test
