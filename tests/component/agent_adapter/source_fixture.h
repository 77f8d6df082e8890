#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/trace_capture.h"

namespace kelp::test {

/// Session sources without a log-in. No ping thread runs.
class SourceFixture : public testing::Test {
  protected:
    using Source = std::unique_ptr<NS_KELPCORBA::SessionSource>;

    explicit SourceFixture(AgentOptions options = {}) : agent_(withoutSessionMgr(options)) {}

    Source make(const std::string& user = "admin") {
        return Source(NS_KELPCORBA::SessionSource::create(agent_.nms().hostInfo(), user,
                                                          agent_.nms().reference()));
    }
    /// Make a source with its POA tree.
    Source makeWithTree(const std::string& user = "admin") {
        Source source = make(user);
        EXPECT_EQ(source->init(agent_.root()), 0ul);
        return source;
    }
    PortableServer::POA_var rootChild(const std::string& name) {
        return PortableServer::POA_var(agent_.root()->find_POA(name.c_str(), false));
    }
    /// Return true as soon as the root POA has no child of that name.
    bool isGoneFromRoot(const std::string& name) {
        return waitUntil([&] {
            try {
                const PortableServer::POA_var found = rootChild(name);
                return false;
            } catch (const PortableServer::POA::AdapterNonExistent&) {
                return true;
            }
        });
    }

    RunningAgent agent_;

  private:
    static AgentOptions withoutSessionMgr(AgentOptions options) {
        options.startsSessionMgr = false;
        return options;
    }
};

}  // namespace kelp::test
