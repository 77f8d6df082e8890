#pragma once

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "kelpnms_fixture.h"

namespace kelp::test {

inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

/// kelpnms reading the network of a real host.
class KelpnmsNetworkTest : public KelpnmsTest {
  protected:
    /// Run `kelpctl inventory ARGUMENTS` on the host's inventory.
    void inventory(const std::vector<std::string>& arguments) {
        std::vector<std::string> all = {"--config", host_.configFile().string(), "inventory"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        ASSERT_EQ(runToEnd(host_.launch(KELPCTL, all)), 0) << host_.log().tail(5);
    }
    void startHostWithSample() {
        startHost();
        inventory({"import", SAMPLE_NETWORK});
    }
    void startHostWithGenerated(int elements, int ports) {
        startHost();
        inventory(
            {"generate", "--elements", std::to_string(elements), "--ports", std::to_string(ports)});
    }

    /// Describe a run of kelpnms whose standard output goes to a file and whose messages go to the
    /// log.
    Launch launchTo(const std::filesystem::path& file, const std::vector<std::string>& arguments) {
        Launch nms = launch(arguments);
        nms.arguments.insert(nms.arguments.begin(),
                             {"-c", "exec \"$@\" > \"$0\"", file.string(), nms.program.string()});
        nms.program = "/bin/sh";
        return nms;
    }
    /// Return its standard output. It must end with 0 and print no messages.
    std::string listed(const std::vector<std::string>& arguments) {
        const std::filesystem::path file = scratch_ / ("list" + std::to_string(runs_));
        EXPECT_EQ(runToEnd(launchTo(file, arguments)), 0) << output();
        EXPECT_EQ(output(), "");
        return contentOf(file);
    }
    /// Wait until the file has at least `number` lines.
    static bool hasLines(const std::filesystem::path& file, std::size_t number) {
        return eventually([&] { return linesOf(contentOf(file)).size() >= number; });
    }
    /// Return the element named in the advice on how to continue.
    std::string toGoOnWith() {
        const std::string advice = "--from \"";
        const std::size_t begin = output().find(advice);
        if (begin == std::string::npos)
            return {};
        return output().substr(begin + advice.size(),
                               output().find('"', begin + advice.size()) - begin - advice.size());
    }
};

}  // namespace kelp::test
