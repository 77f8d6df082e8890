#pragma once

#include <gtest/gtest.h>

#include <string>

#include "harness/host.h"
#include "harness/name_server.h"
#include "harness/nms_lists.h"
#include "harness/nms_process.h"

namespace kelp::test {

/// A host with a separate naming service, an inventory, and the users "alice" and "bob" for the NMS
/// that read it.
class IteratorsFixture : public testing::Test {
  protected:
    IteratorsFixture() {
        host_.useNamingService(names_.port());
        host_.addUser("alice");
        host_.addUser("bob");
    }

    /// Set the limits for all sessions. The limit for one session is set so high that it has no
    /// effect.
    void limit(int soft, int hard) {
        host_.set("iterator", "soft_limit", soft).set("iterator", "hard_limit", hard);
        host_.set("iterator", "per_session_max", 1000000);
    }
    void startWithElements(int count) {
        const std::string elements = std::to_string(count);
        if (runToEnd(host_.launch(
                KELPCTL, {"--config", host_.configFile().string(), "inventory", "generate",
                          "--elements", elements, "--ports", elements, "--seed", "1"})) != 0)
            throw std::runtime_error("there is no inventory");
        host_.start();
    }
    /// Expect that no iterator is open: under new limits, exactly as many iterators as they allow
    /// can be opened.
    void expectNoneOpen(NmsProcess& nms, int number) {
        constexpr int kFew = 5;
        const std::size_t before = host_.log().count(kReadAgain);
        limit(kFew, kFew);
        host_.reconfigure();
        ASSERT_TRUE(host_.log().waitFor(kReadAgain, before + 1));
        NmsLists lists(nms, number);
        const NmsLists::Openings openings = lists.openMany(1, 2 * kFew);
        EXPECT_EQ(openings.opened, kFew);
        EXPECT_EQ(openings.refused, kFew);
    }

    NameServer names_;
    Host host_;

  private:
    static constexpr const char* kReadAgain = "the configuration has been read again";
};

}  // namespace kelp::test
