// Messages that break the rules of GIOP, from callers with and without a log-in and from foreign
// addresses.

#include <gmock/gmock.h>
#include <kelp/orb/references.h>

#include "attacks/attacked_host.h"
#include "harness/process_memory.h"

namespace kelp::test {
namespace {

using ::testing::Le;

class MessageAttacks : public AttackedHost, public ::testing::WithParamInterface<const char*> {
  protected:
    void SetUp() override { startHost(); }
    Options fromThere() const { return {{"source", GetParam()}}; }
    /// The attack counts the replies to each of its requests.
    void expectOneReplyAtMost(const std::string& name) {
        const std::size_t linesBefore = tracedLines();
        const Seen replies = attack(name, fromThere());
        for (const auto& [request, count] : replies)
            EXPECT_THAT(std::stol(count), Le(1)) << request;
        EXPECT_LT(tracedLines(), linesBefore + 100);
        expectUnharmed();
    }
};

INSTANTIATE_TEST_SUITE_P(From, MessageAttacks,
                         ::testing::Values("127.0.0.1", "127.0.0.3", "127.0.0.2"), attackerPlace);

TEST_P(MessageAttacks, AFragmentOfACompletedRequestHarmsNobody) {
    attack("fragment_after_request", fromThere());
    expectUnharmed();
}

TEST_P(MessageAttacks, AFragmentSentToTheNamingServiceHarmsNobody) {
    attack("fragment_after_request", host_.namingPort(), fromThere());
    expectUnharmed();
}

TEST_P(MessageAttacks, ACancelledHalfOfARequestLeavesNoThreadSpinning) {
    attack("half_request_and_cancel", fromThere());
    expectUnharmed();
}

TEST_P(MessageAttacks, ARequestAddressedByProfileOrReferenceIsAnsweredAtMostOnce) {
    expectOneReplyAtMost("target_by_profile");
}

TEST_P(MessageAttacks, ARequestForAnAdapterWithoutAnObjectIsAnsweredAtMostOnce) {
    expectOneReplyAtMost("keys_of_adapters");
}

class TargetAddressing : public AttackedHost {};

TEST_F(TargetAddressing, ARequestAddressedByProfileOrReferenceIsServed) {
    startHost();
    const Seen replies = attack("target_by_profile", {{"source", kAllowed}});
    EXPECT_EQ(numberIn(replies, "profile"), 1);
    EXPECT_EQ(numberIn(replies, "reference"), 1);
    expectUnharmed();
}

class LargeMessages : public AttackedHost {
  protected:
    void SetUp() override { startHost(); }
    /// Send requests of 60 MiB each from four concurrent callers at the address where an NMS is
    /// logged in. Return how many were answered.
    long largeRequests(const std::string& form) {
        return numberIn(attack("large_requests", {{"source", kLoggedIn}, {"form", form}}),
                        "answered");
    }
    /// Memory is not checked under a sanitizer, because the sanitizer's allocator keeps freed
    /// memory.
    void expectMemoryAsBefore([[maybe_unused]] double before) {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        EXPECT_TRUE(eventually([&] { return residentMib(host_.process().pid()) < before + 48; }))
            << before << " MiB before, " << residentMib(host_.process().pid()) << " MiB after";
#endif
        expectUnharmed();
    }
};

TEST_F(LargeMessages, MemoryOfWholeRequestsGoesBackToTheSystem) {
    const double before = residentMib(host_.process().pid());
    EXPECT_EQ(largeRequests("whole"), 4) << "an NMS may send as much";
    expectMemoryAsBefore(before);
}

TEST_F(LargeMessages, MemoryOfFragmentedRequestsGoesBackToTheSystem) {
    const double before = residentMib(host_.process().pid());
    largeRequests("fragments");
    expectMemoryAsBefore(before);
}

TEST_F(LargeMessages, MemoryOfUnfinishedRequestsGoesBackToTheSystem) {
    const double before = residentMib(host_.process().pid());
    EXPECT_EQ(largeRequests("half"), 0);
    expectMemoryAsBefore(before);
}

TEST_F(LargeMessages, MemoryOfMillionsOfTextsGoesBackToTheSystem) {
    const double before = residentMib(host_.process().pid());
    const Seen seen =
        attack("long_names", {{"user", kUser}, {"password", Host::kPassword}, {"mebibytes", "15"}});
    EXPECT_EQ(numberIn(seen, "answered"), 4);
    expectMemoryAsBefore(before);
}

TEST_F(LargeMessages, MemoryOfTextsWithoutAnEndGoesBackToTheSystem) {
    const double before = residentMib(host_.process().pid());
    EXPECT_EQ(numberIn(attack("texts_without_end", {{"where", "type"}}), "refused"), 3000);
    EXPECT_EQ(numberIn(attack("texts_without_end", {{"where", "host"}}), "refused"), 3000);
    expectMemoryAsBefore(before);
}

TEST_F(LargeMessages, MemoryOfRequestsWithOctetsLeftOverGoesBackToTheSystem) {
    const double before = residentMib(host_.process().pid());
    EXPECT_EQ(numberIn(attack("octets_behind_the_arguments"), "connections"), 20000);
    expectMemoryAsBefore(before);
}

TEST_F(LargeMessages, LengthsBeyond32BitsTakeNoMemory) {
    const double before = peakAddressSpaceMib(host_.process().pid());
    const Seen answers =
        attack("lengths_beyond_32_bits", {{"user", kUser}, {"password", Host::kPassword}});
    EXPECT_EQ(answers.at("code_sets"), "1");
    EXPECT_EQ(answers.at("layer_rates"), "IDL:omg.org/CORBA/MARSHAL:1.0");
    // the margin covers the address space of threads
    EXPECT_LT(peakAddressSpaceMib(host_.process().pid()), before + 1500);
    expectUnharmed();
}

TEST_F(LargeMessages, AreRefusedWithoutALogIn) {
    const Seen seen = attack("large_requests", {{"source", kAllowed}, {"mebibytes", "2"}});
    EXPECT_EQ(numberIn(seen, "answered"), 0);
    expectUnharmed();
}

class TypeBombs : public AttackedHost {};

TEST_F(TypeBombs, TypesNestedDeepOrWideAreRefusedBeforeTheyAreDecoded) {
    startHost();
    orb::ReferenceContent channel;
    ASSERT_TRUE(orb::decodeReference(
        bystander_->channelAt(0, "127.0.0.1 " + std::to_string(host_.port())), channel));
    const Seen outcomes =
        attack("type_bombs", {{"source", kLoggedIn}, {"key", hexOf(channel.objectKey)}});
    for (const auto& [bomb, outcome] : outcomes)
        EXPECT_NE(outcome, "silence") << bomb;
    expectUnharmed();
}

}  // namespace
}  // namespace kelp::test
