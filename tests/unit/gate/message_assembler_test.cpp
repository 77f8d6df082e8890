#include "giop/message_assembler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "support/giop_messages.h"

namespace {

using namespace kelp::orb::giop;
using namespace kelp::test;
using Step = MessageAssembler::Step;
using std::chrono::milliseconds;

constexpr std::uint8_t kVersions[] = {0, 1, 2};
constexpr std::uint8_t kVersionsWithFragments[] = {1, 2};

class Peer : public PeerStanding {
  public:
    bool isLoggedIn() override { return loggedIn; }
    bool mayLocate() override { return ++locates <= locatesMax; }
    bool loggedIn = true;
    unsigned locates = 0;
    unsigned locatesMax = 1000;
};

Octets octetsOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string textOf(Octets octets) {
    return {octets.begin(), octets.end()};
}

std::string joined(const std::vector<std::string>& parts) {
    std::string all;
    for (const std::string& part : parts)
        all += part;
    return all;
}

/// The output of an assembler.
struct Outcome {
    std::vector<std::string> messages;
    Step last = Step::More;
    Violation violation = Violation::None;
    bool operator==(const Outcome&) const = default;
};

class Assembler : public testing::Test {
  protected:
    /// Pass the octets to the assembler in these parts, as long as it accepts them.
    Outcome feed(MessageAssembler& assembler, const std::vector<std::string>& parts) {
        Outcome outcome;
        for (const std::string& part : parts) {
            if (!assembler.append(octetsOf(part))) {
                outcome.last = Step::Refused;
                outcome.violation = assembler.violation();
                return outcome;
            }
            while ((outcome.last = assembler.next(now_)) == Step::Message)
                outcome.messages.push_back(textOf(assembler.message()));
            outcome.violation = assembler.violation();
            if (outcome.last != Step::More)
                return outcome;
        }
        return outcome;
    }
    Outcome assemble(const std::vector<std::string>& parts) {
        MessageAssembler assembler(limits_, peer_, budget_);
        return feed(assembler, parts);
    }
    Outcome assemble(const std::string& octets) {
        return assemble(std::vector<std::string>{octets});
    }

    void expectPassed(const std::string& octets, const std::vector<std::string>& messages) {
        const Outcome outcome = assemble(octets);
        EXPECT_EQ(outcome.messages, messages);
        EXPECT_EQ(outcome.last, Step::More) << textOf(outcome.violation);
    }
    void expectRefused(const std::string& octets, Violation violation) {
        const Outcome outcome = assemble(octets);
        EXPECT_EQ(outcome.last, Step::Refused);
        EXPECT_EQ(textOf(outcome.violation), textOf(violation));
    }
    static std::string_view textOf(Violation violation) {
        return kelp::orb::giop::textOf(violation);
    }
    static std::string textOf(Octets octets) { return ::textOf(octets); }

    AssemblerLimits limits_;
    Peer peer_;
    InputBudget budget_{std::size_t{64} << 20};
    MessageAssembler::Time now_{std::chrono::seconds(1000)};
};

GiopRequest request(std::uint8_t minor, std::uint32_t id = 1, std::string arguments = "") {
    GiopRequest made;
    made.minor = minor;
    made.id = id;
    made.arguments = std::move(arguments);
    return made;
}

std::string hundred() {
    std::string text;
    for (int i = 0; i < 100; ++i)
        text += static_cast<char>('a' + i % 26);
    return text;
}

TEST_F(Assembler, PassesWholeRequestsOfEveryVersionAndByteOrder) {
    for (const bool littleEndian : {false, true}) {
        for (const std::uint8_t minor : kVersions) {
            GiopRequest made = request(minor, 7, hundred());
            made.littleEndian = littleEndian;
            expectPassed(requestMessage(made), {requestMessage(made)});
            expectPassed(locateMessage(made), {locateMessage(made)});
        }
    }
}

TEST_F(Assembler, GivesTheSameForEveryPartitionIntoTwo) {
    const std::string octets =
        requestMessage(request(2, 1, hundred())) +
        joined(fragmentsOf(request(2, 2, hundred()), 32, 24)) + requestMessage(request(2, 3)) +
        messageOfId(GiopType::CancelRequest, 9) + locateMessage(request(2, 4));
    const Outcome whole = assemble(octets);
    ASSERT_EQ(whole.messages.size(), 4U);
    for (std::size_t at = 1; at < octets.size(); ++at)
        EXPECT_EQ(assemble({octets.substr(0, at), octets.substr(at)}), whole) << at;
}

TEST_F(Assembler, GivesTheSameForRandomPartitionsAndForSingleOctets) {
    const std::string octets = joined(fragmentsOf(request(1, 1, hundred()), 60, 17)) +
                               requestMessage(request(1, 2, hundred())) +
                               joined(fragmentsOf(request(1, 3, hundred()), 52, 1));
    const Outcome whole = assemble(octets);
    ASSERT_GT(whole.messages.size(), 20U);
    std::mt19937 random(3);
    for (int round = 0; round < 200; ++round) {
        std::vector<std::string> parts;
        for (std::size_t at = 0; at < octets.size();) {
            const std::size_t size = round == 0 ? 1 : 1 + random() % (1 + random() % 60);
            parts.push_back(octets.substr(at, size));
            at += size;
        }
        EXPECT_EQ(assemble(parts), whole) << round;
    }
}

TEST_F(Assembler, JoinsTheFragmentsOfARequestToTheMessageThatItIs) {
    for (const bool littleEndian : {false, true}) {
        GiopRequest made = request(2, 5, hundred());
        made.littleEndian = littleEndian;
        for (const std::size_t part : {8u, 16u, 64u, 4096u})
            expectPassed(joined(fragmentsOf(made, 32, part)), {requestMessage(made)});
    }
}

TEST_F(Assembler, JoinsRequestsWhoseHeadersAreInFragments) {
    GiopRequest made = request(2, 5, hundred());
    made.key = hundred() + hundred();
    expectPassed(joined(fragmentsOf(made, 16, 8)), {requestMessage(made)});
}

TEST_F(Assembler, JoinsInterleavedRequests) {
    const auto one = fragmentsOf(request(2, 1, hundred()), 32, 40);
    const auto two = fragmentsOf(request(2, 2, hundred()), 48, 40);
    const std::string whole = requestMessage(request(2, 3));
    ASSERT_EQ(one.size(), two.size());
    std::string octets;
    for (std::size_t i = 0; i < one.size(); ++i)
        octets += one[i] + whole + two[i];
    std::vector<std::string> expected(one.size() - 1, whole);
    expected.insert(expected.end(), {whole, requestMessage(request(2, 1, hundred())),
                                     requestMessage(request(2, 2, hundred()))});
    const Outcome outcome = assemble(octets);
    EXPECT_EQ(outcome.last, Step::More);
    ASSERT_EQ(outcome.messages.size(), expected.size());
    EXPECT_TRUE(std::is_permutation(expected.begin(), expected.end(), outcome.messages.begin()));
}

TEST_F(Assembler, JoinsALocateRequest) {
    GiopRequest made = request(2, 6);
    made.key = hundred();
    const std::string whole = locateMessage(made);
    const std::string head = GiopWriter(2).raw(whole.substr(12, 20)).message(3, true);
    expectPassed(head + messageOfId(GiopType::Fragment, 6, whole.substr(32)), {whole});
}

TEST_F(Assembler, HoldsTheMessagesOfAnOlderRequestUntilTheLast) {
    auto parts = fragmentsOf(request(1, 1, hundred()), 60, 30);
    MessageAssembler assembler(limits_, peer_, budget_);
    const std::string last = parts.back();
    parts.pop_back();
    EXPECT_TRUE(feed(assembler, parts).messages.empty());
    parts.push_back(last);
    EXPECT_EQ(feed(assembler, {last}).messages, parts);
}

TEST_F(Assembler, NeverPassesACancelRequest) {
    for (const std::uint8_t minor : kVersions) {
        const std::string cancel = messageOfId(GiopType::CancelRequest, 1, "", false, false, minor);
        const std::string whole = requestMessage(request(minor, 1));
        expectPassed(cancel + whole + cancel + cancel + whole, {whole, whole});
    }
}

TEST_F(Assembler, ForgetsAnUnfinishedRequestThatIsCancelled) {
    for (const std::uint8_t minor : kVersionsWithFragments) {
        const auto parts = fragmentsOf(request(minor, 1, hundred()), minor == 1 ? 60 : 32, 64);
        const std::string cancel = messageOfId(GiopType::CancelRequest, 1, "", false, false, minor);
        const std::string next = requestMessage(request(minor, 1));
        expectPassed(parts[0] + cancel + next, {next});
        expectRefused(parts[0] + cancel + parts[1], Violation::FragmentOfNothing);
    }
    EXPECT_EQ(budget_.used(), 0U);
}

TEST_F(Assembler, KeepsAnUnfinishedRequestWhenAnotherIsCancelled) {
    for (const std::uint8_t minor : kVersionsWithFragments) {
        auto parts = fragmentsOf(request(minor, 1, hundred()), minor == 1 ? 60 : 32, 64);
        const std::size_t count = assemble(joined(parts)).messages.size();
        parts.insert(parts.begin() + 1,
                     messageOfId(GiopType::CancelRequest, 2, "", false, false, minor));
        const Outcome outcome = assemble(joined(parts));
        EXPECT_EQ(outcome.last, Step::More);
        EXPECT_EQ(outcome.messages.size(), count);
    }
}

TEST_F(Assembler, RefusesFragmentsOfNoOpenRequest) {
    for (const std::uint8_t minor : kVersionsWithFragments) {
        const std::string fragment = messageOfId(GiopType::Fragment, 1, "", false, false, minor);
        expectRefused(fragment, Violation::FragmentOfNothing);
        expectRefused(requestMessage(request(minor, 1)) + fragment, Violation::FragmentOfNothing);
        expectRefused(
            joined(fragmentsOf(request(minor, 1, hundred()), minor == 1 ? 60 : 32, 64)) + fragment,
            Violation::FragmentOfNothing);
    }
    expectRefused(
        fragmentsOf(request(2, 1, hundred()), 32, 64)[0] + messageOfId(GiopType::Fragment, 2),
        Violation::FragmentOfNothing);
}

TEST_F(Assembler, PassesWhatCameBeforeAViolation) {
    const Outcome outcome = assemble(requestMessage(request(2, 1)) + requestMessage(request(2, 2)) +
                                     "garbage, not GIOP");
    EXPECT_EQ(outcome.messages.size(), 2U);
    EXPECT_EQ(outcome.violation, Violation::NotGiop);
}

TEST_F(Assembler, RefusesHeadersThatAClientDoesNotSend) {
    const auto changed = [](std::size_t at, int value, std::uint8_t minor = 2) {
        std::string message = requestMessage(request(minor));
        message[at] = static_cast<char>(value);
        return message;
    };
    for (std::size_t at = 0; at < 4; ++at)
        expectRefused(changed(at, 'x'), Violation::NotGiop);
    expectRefused(changed(4, 2), Violation::Version);
    expectRefused(changed(5, 3), Violation::Version);
    for (const int flags : {4, 8, 16, 32, 64, 128})
        expectRefused(changed(6, flags), Violation::Flags);
    expectRefused(changed(6, 2, 0), Violation::Flags);
    expectRefused(changed(7, 1), Violation::Type);  // Reply
    expectRefused(changed(7, 4), Violation::Type);  // LocateReply
    expectRefused(changed(7, 8), Violation::Type);
    expectRefused(changed(7, 255), Violation::Type);
    expectRefused(changed(7, 7, 0), Violation::Type);  // a Fragment of GIOP 1.0
}

TEST_F(Assembler, RefusesFragmentsToComeOfMessagesThatHaveNone) {
    expectRefused(giopMessage(GiopWriter(2).unsignedLong(1), GiopType::CancelRequest, true),
                  Violation::Flags);
    expectRefused(
        giopMessage(GiopWriter(1).unsignedLong(1).octets("key"), GiopType::LocateRequest, true),
        Violation::Flags);
    expectRefused(giopMessage(GiopWriter(2), GiopType::CloseConnection, true), Violation::Flags);
}

TEST_F(Assembler, RefusesAnotherVersionInTheSameConnection) {
    for (const std::uint8_t first : kVersions) {
        for (const std::uint8_t second : kVersions) {
            const std::string octets =
                requestMessage(request(first)) + requestMessage(request(second));
            if (first == second)
                expectPassed(octets,
                             {requestMessage(request(first)), requestMessage(request(first))});
            else
                expectRefused(octets, Violation::VersionChanged);
        }
    }
}

TEST_F(Assembler, EndsWhenThePeerCloses) {
    for (const GiopType type : {GiopType::CloseConnection, GiopType::MessageError}) {
        const std::string whole = requestMessage(request(2));
        // CloseConnection and MessageError may have any version
        const Outcome outcome = assemble(whole + giopMessage(GiopWriter(0), type) + whole);
        EXPECT_EQ(outcome.messages, std::vector<std::string>{whole});
        EXPECT_EQ(outcome.last, Step::End);
    }
}

TEST_F(Assembler, RefusesMessagesAboveTheLimitByTheirHeaders) {
    const std::string fits = requestMessage(request(2, 1, hundred()));
    limits_.messageOctetsMax = fits.size();
    expectPassed(fits, {fits});
    expectRefused(requestMessage(request(2, 1, hundred() + 'x')).substr(0, 12),
                  Violation::TooLarge);
    std::string huge = requestMessage(request(2));
    huge.replace(8, 4, "\xff\xff\xff\xff");
    expectRefused(huge.substr(0, 12), Violation::TooLarge);
}

TEST_F(Assembler, LimitsAFragmentedRequestAsAWhole) {
    limits_.messageOctetsMax = 200;
    const auto parts = fragmentsOf(request(2, 1, std::string(400, 'x')), 64, 64);
    const Outcome outcome = assemble(joined(parts));
    EXPECT_TRUE(outcome.messages.empty());
    EXPECT_EQ(outcome.violation, Violation::TooLarge);
    const auto older = fragmentsOf(request(1, 1, std::string(400, 'x')), 64, 64);
    EXPECT_EQ(assemble(joined(older)).violation, Violation::TooLarge);
}

TEST_F(Assembler, LimitsWhatAnAddressWithoutLoginSends) {
    limits_.octetsMaxBeforeLogin = 200;
    const std::string large = requestMessage(request(2, 1, std::string(400, 'x')));
    expectPassed(large, {large});
    peer_.loggedIn = false;
    expectRefused(large.substr(0, 12), Violation::TooLargeBeforeLogin);
    const std::string small = requestMessage(request(2, 1, hundred()));
    expectPassed(small, {small});
}

TEST_F(Assembler, LimitsAllThatAConnectionWithoutLoginLeavesUnfinished) {
    limits_.octetsMaxBeforeLogin = 200;
    peer_.loggedIn = false;
    std::string octets;
    for (std::uint32_t id = 0; id < 4; ++id)
        octets += fragmentsOf(request(2, id, hundred()), 64, 64)[0];
    expectRefused(octets, Violation::TooLargeBeforeLogin);
}

TEST_F(Assembler, LimitsUnfinishedRequests) {
    limits_.fragmentedMax = 3;
    std::string octets;
    for (std::uint32_t id = 0; id < 3; ++id)
        octets += fragmentsOf(request(2, id, hundred()), 32, 64)[0];
    expectPassed(octets, {});
    expectRefused(octets + fragmentsOf(request(2, 3, hundred()), 32, 64)[0],
                  Violation::TooManyFragmented);
}

TEST_F(Assembler, RefusesTheIdOfAnUnfinishedRequest) {
    const std::string first = fragmentsOf(request(2, 1, hundred()), 32, 64)[0];
    expectRefused(first + first, Violation::RequestIdInUse);
    expectRefused(first + requestMessage(request(2, 1)), Violation::RequestIdInUse);
    expectRefused(first + locateMessage(request(2, 1)), Violation::RequestIdInUse);
}

TEST_F(Assembler, RefusesOtherMessagesAmongTheFragmentsOfAnOlderRequest) {
    const std::string first = fragmentsOf(request(1, 1, hundred()), 60, 64)[0];
    expectRefused(first + requestMessage(request(1, 2)), Violation::Interleaved);
    expectRefused(first + locateMessage(request(1, 2)), Violation::Interleaved);
}

TEST_F(Assembler, RefusesFragmentsThatShiftTheAlignment) {
    const std::string whole = requestMessage(request(2, 1, hundred()));
    for (std::size_t size = 20; size < 60; ++size) {
        const std::string head = GiopWriter(2).raw(whole.substr(12, size - 12)).message(0, true);
        if (size % 8 == 0)
            expectPassed(head, {});
        else
            expectRefused(head, Violation::FragmentSize);
    }
}

TEST_F(Assembler, RefusesFragmentsOfAnotherByteOrder) {
    for (const std::uint8_t minor : kVersionsWithFragments) {
        const auto parts = fragmentsOf(request(minor, 1, hundred()), minor == 1 ? 60 : 32, 64);
        const std::string fragment = messageOfId(GiopType::Fragment, 1, "", false, true, minor);
        expectRefused(parts[0] + fragment, Violation::Flags);
    }
    const std::string empty = giopMessage(GiopWriter(1, true), GiopType::Fragment);
    expectRefused(fragmentsOf(request(1, 1, hundred()), 60, 64)[0] + empty, Violation::Flags);
}

TEST_F(Assembler, RefusesEveryRequestHeaderThatIsCutOff) {
    for (const std::uint8_t minor : kVersions) {
        for (const bool isLocate : {false, true}) {
            const std::string whole =
                isLocate ? locateMessage(request(minor)) : requestMessage(request(minor));
            for (std::size_t size = 12; size < whole.size(); ++size) {
                const std::string cut =
                    GiopWriter(minor).raw(whole.substr(12, size - 12)).message(isLocate ? 3 : 0);
                expectRefused(cut, Violation::RequestHeader);
            }
        }
    }
}

TEST_F(Assembler, RefusesAHeaderOfAnOlderRequestThatIsInFragments) {
    const auto parts = fragmentsOf(request(1, 1, hundred()), 40, 64);
    expectRefused(parts[0], Violation::RequestHeader);
}

TEST_F(Assembler, RefusesOperationsThatAreNoNames) {
    for (const char* operation : {"", "two words", "line\nfeed", "\x80", "\x7f"}) {
        GiopRequest made = request(2);
        made.operation = operation;
        expectRefused(requestMessage(made), Violation::RequestHeader);
    }
    GiopRequest made = request(2);
    made.operation = std::string("pi\0ng", 5);
    expectRefused(requestMessage(made), Violation::RequestHeader);
}

TEST_F(Assembler, NamesATargetByItsKey) {
    for (const bool littleEndian : {false, true}) {
        for (const std::string& key :
             {std::string("k"), std::string("key"), std::string("eight888"), hundred()}) {
            for (const std::string& arguments : {std::string(), hundred()}) {
                GiopRequest made = request(2, 3, arguments);
                made.littleEndian = littleEndian;
                made.key = key;
                const std::string byKey = requestMessage(made);
                const std::string locatedByKey = locateMessage(made);
                for (const Addressing addressing : {Addressing::Profile, Addressing::Reference}) {
                    made.addressing = addressing;
                    expectPassed(requestMessage(made) + requestMessage(made), {byKey, byKey});
                    expectPassed(locateMessage(made), {locatedByKey});
                    if (!arguments.empty())
                        expectPassed(joined(fragmentsOf(made, 40, 48)), {byKey});
                }
            }
        }
    }
}

TEST_F(Assembler, RefusesTargetsWithoutAUsableProfile) {
    const auto withTarget = [](auto add) {
        GiopWriter writer(2);
        writer.unsignedLong(1).octet(3).octet(0).octet(0).octet(0);
        add(writer);
        writer.text("ping").unsignedLong(0);
        return giopMessage(writer, GiopType::Request);
    };
    const auto profile = [&](std::uint32_t tag, const std::string& data) {
        return withTarget(
            [&](GiopWriter& writer) { writer.unsignedShort(1).unsignedLong(tag).octets(data); });
    };
    expectRefused(profile(1, iiopProfile("key")), Violation::NoKey);
    expectRefused(profile(0, ""), Violation::NoKey);
    expectRefused(profile(0, iiopProfile("key", "")), Violation::NoKey);
    for (std::size_t size = 1; size + 5 < iiopProfile("key").size() - 4; ++size)
        expectRefused(profile(0, iiopProfile("key").substr(0, size)), Violation::NoKey);
    expectRefused(withTarget([](GiopWriter& writer) {
                      writer.unsignedShort(2).unsignedLong(0).text("IDL:x:1.0").unsignedLong(0);
                  }),
                  Violation::NoKey);
    expectRefused(withTarget([](GiopWriter& writer) {
                      writer.unsignedShort(2).unsignedLong(5).text("").unsignedLong(1);
                      writer.unsignedLong(0).octets(iiopProfile("key"));
                  }),
                  Violation::NoKey);
    expectRefused(withTarget([](GiopWriter& writer) { writer.unsignedShort(3).octets("key"); }),
                  Violation::RequestHeader);
}

TEST_F(Assembler, LimitsLocateRequests) {
    peer_.locatesMax = 3;
    std::string octets;
    for (std::uint32_t id = 0; id < 4; ++id)
        octets += locateMessage(request(2, id));
    const Outcome outcome = assemble(octets);
    EXPECT_EQ(outcome.messages.size(), 3U);
    EXPECT_EQ(outcome.violation, Violation::TooManyLocates);
}

/// Return an any with a type nested thousands of levels deep.
std::string deepAny() {
    GiopWriter writer(2);
    for (int level = 0; level < 2000; ++level)
        writer.unsignedLong(19).unsignedLong(
            // nested sequences whose lengths exceed the enclosing encapsulation
            0xffff);
    return writer.message(0).substr(12);
}

TEST_F(Assembler, CutsParametersOffThatWouldHarmTheOrb) {
    for (const std::uint8_t minor : kVersions) {
        GiopRequest made = request(minor, 1, deepAny());
        made.operation = "push";
        GiopRequest cut = request(minor, 1);
        cut.operation = "push";
        expectPassed(requestMessage(made), {requestMessage(cut)});
        if (minor == 0)
            continue;
        expectPassed(joined(fragmentsOf(made, 64, 640)), {requestMessage(cut)});
        if (minor == 2) {
            made.addressing = Addressing::Reference;
            expectPassed(requestMessage(made) + requestMessage(cut),
                         {requestMessage(cut), requestMessage(cut)});
        }
    }
}

TEST_F(Assembler, GivesAllItsMemoryBack) {
    {
        MessageAssembler assembler(limits_, peer_, budget_);
        const std::string large = requestMessage(request(2, 1, std::string(3000000, 'x')));
        feed(assembler, {large});
        EXPECT_EQ(budget_.used(), 0U);
        feed(assembler, {joined(fragmentsOf(request(2, 2, std::string(3000000, 'x')), 64, 65536))});
        EXPECT_EQ(budget_.used(), 0U);
        feed(assembler, {large.substr(0, 2000000)});
        EXPECT_GE(budget_.used(), 2000000U);
    }
    EXPECT_EQ(budget_.used(), 0U);
}

TEST_F(Assembler, RefusesWhatTheBudgetHasNoRoomFor) {
    InputBudget small(100000);
    MessageAssembler assembler(limits_, peer_, small);
    const Outcome outcome =
        feed(assembler, {requestMessage(request(2, 1, std::string(90000, 'x'))),
                         requestMessage(request(2, 2, std::string(200000, 'x')))});
    EXPECT_EQ(outcome.messages.size(), 1U);
    EXPECT_EQ(outcome.violation, Violation::NoMemory);
}

TEST_F(Assembler, DoesNotReserveWhatAHeaderOnlyAnnounces) {
    MessageAssembler assembler(limits_, peer_, budget_);
    feed(assembler, {requestMessage(request(2, 1, std::string(50000000, 'x'))).substr(0, 5000)});
    EXPECT_FALSE(assembler.room().empty());
    EXPECT_LT(budget_.used(), 200000U);
}

TEST_F(Assembler, HasADeadlineOnlyWhileSomethingIsUnfinished) {
    MessageAssembler assembler(limits_, peer_, budget_);
    const std::string whole = requestMessage(request(2, 1, hundred()));
    EXPECT_FALSE(assembler.deadline());
    feed(assembler, {whole.substr(0, 1)});
    EXPECT_EQ(assembler.deadline(), now_ + limits_.progress.window);
    feed(assembler, {whole.substr(1)});
    EXPECT_FALSE(assembler.deadline());
    feed(assembler, {fragmentsOf(request(2, 1, hundred()), 32, 64)[0]});
    EXPECT_EQ(assembler.deadline(), now_ + limits_.progress.window);
    feed(assembler, {messageOfId(GiopType::CancelRequest, 1)});
    EXPECT_FALSE(assembler.deadline());
}

TEST_F(Assembler, PostponesTheDeadlineForAWindowsWorthOfOctetsOnly) {
    MessageAssembler assembler(limits_, peer_, budget_);
    const auto first = now_;
    const std::string whole = requestMessage(request(2, 1, std::string(100000, 'x')));
    feed(assembler, {whole.substr(0, 100)});
    now_ += milliseconds(5000);
    feed(assembler, {whole.substr(100, 100)});
    EXPECT_EQ(assembler.deadline(), first + limits_.progress.window);
    feed(assembler, {whole.substr(200, limits_.progress.octetsPerWindow)});
    EXPECT_EQ(assembler.deadline(), now_ + limits_.progress.window);
    assembler.wasPaused(milliseconds(700));
    EXPECT_EQ(assembler.deadline(), now_ + limits_.progress.window + milliseconds(700));
}

TEST_F(Assembler, OtherRequestsDoNotPostponeTheDeadlineOfAnUnfinishedOne) {
    MessageAssembler assembler(limits_, peer_, budget_);
    feed(assembler, {fragmentsOf(request(2, 1, hundred()), 32, 64)[0]});
    const auto deadline = assembler.deadline();
    now_ += milliseconds(5000);
    feed(assembler, {requestMessage(request(2, 2, std::string(100000, 'x')))});
    EXPECT_EQ(assembler.deadline(), deadline);
}

TEST_F(Assembler, PassesOneWholeRequestWithoutTakingItOver) {
    MessageAssembler assembler(limits_, peer_, budget_);
    const std::string whole = requestMessage(request(2, 1, hundred()));
    EXPECT_TRUE(assembler.passes(octetsOf(whole)));
    EXPECT_EQ(budget_.used(), 0U);
    EXPECT_FALSE(assembler.passes(octetsOf(whole + whole)));
    EXPECT_FALSE(assembler.passes(octetsOf(whole.substr(0, whole.size() - 1))));
    EXPECT_FALSE(assembler.passes(octetsOf(whole.substr(0, 5))));
    EXPECT_FALSE(assembler.passes(octetsOf(requestMessage(request(1)))));  // another version
    EXPECT_FALSE(assembler.passes(octetsOf(fragmentsOf(request(2, 1, hundred()), 32, 64)[0])));
    EXPECT_FALSE(assembler.passes(octetsOf(messageOfId(GiopType::CancelRequest, 1))));
    GiopRequest byProfile = request(2);
    byProfile.addressing = Addressing::Profile;
    EXPECT_FALSE(assembler.passes(octetsOf(requestMessage(byProfile))));
}

TEST_F(Assembler, TakesOverWhatIsReceivedIntoItsRoom) {
    MessageAssembler assembler(limits_, peer_, budget_);
    const std::string whole = requestMessage(request(2, 1, std::string(300000, 'x')));
    std::size_t at = 0;
    Step step = Step::More;
    while (step == Step::More && at < whole.size()) {
        const auto room = assembler.room();
        ASSERT_FALSE(room.empty());
        const std::size_t size = std::min(room.size(), whole.size() - at);
        std::copy_n(whole.begin() + static_cast<std::ptrdiff_t>(at), size, room.begin());
        assembler.grew(size);
        at += size;
        step = assembler.next(now_);
    }
    ASSERT_EQ(step, Step::Message);
    EXPECT_EQ(::textOf(assembler.message()), whole);
}

}  // namespace
