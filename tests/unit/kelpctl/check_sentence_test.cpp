#include "kelpctl/check/check_sentence.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace kelp::ctl {
namespace {

CheckTarget target() {
    CheckTarget checked;
    checked.namingHost = "10.0.0.1";
    checked.namingPort = 4801;
    checked.path = "A.Class/B.EmsSessionFactory_I";
    checked.user = "probe";
    checked.limit = std::chrono::seconds(5);
    return checked;
}

std::string sentence(Step step, Cause cause, const std::string& address = "10.0.0.1:4801",
                     const std::string& reason = "a reason", const CheckTarget& of = target()) {
    StepResult failed;
    failed.step = step;
    failed.state = StepState::Failed;
    failed.failure = Failure{cause, address, reason};
    return sentenceOf(failed, of);
}

TEST(CheckSentence, AsksWhetherTheNamingServiceRuns) {
    EXPECT_EQ(
        sentence(Step::Naming, Cause::Refused),
        "The naming service at 10.0.0.1:4801 refuses connections: is it running? It is inside "
        "kelpd: start kelpd, or see its trace for why it does not listen.");
    CheckTarget external = target();
    external.isEmbedded = false;
    EXPECT_EQ(
        sentence(Step::Naming, Cause::Refused, "10.0.0.1:4801", "", external),
        "The naming service at 10.0.0.1:4801 refuses connections: is it running? Start it, or "
        "correct [naming] host and port.");
}

TEST(CheckSentence, NamesTheLimitThatANamingServiceExceeds) {
    EXPECT_EQ(sentence(Step::Naming, Cause::NoAnswer),
              "The naming service at 10.0.0.1:4801 accepts connections but did not answer within 5 "
              "s: it hangs, or another program has this port. Restart it, or correct [naming] host "
              "and port.");
}

TEST(CheckSentence, TellsAMissingEntryFromAStaleOne) {
    EXPECT_EQ(
        sentence(Step::Entry, Cause::NotBound),
        "The naming service at 10.0.0.1:4801 has no entry A.Class/B.EmsSessionFactory_I: is "
        "kelpd running, and with the same [ems] name and version? It writes the entry when it "
        "starts.");
    EXPECT_EQ(sentence(Step::Address, Cause::Refused, "10.0.0.5:4001"),
              "The naming entry points to 10.0.0.5:4001, which nobody listens on: an old entry? "
              "Start kelpd, which replaces it, or remove the entry.");
}

TEST(CheckSentence, TellsAForeignFactoryFromAHungOne) {
    EXPECT_EQ(sentence(Step::Factory, Cause::WrongObject, "10.0.0.5:4001"),
              "What answers at 10.0.0.5:4001 is not a session factory: an old entry, whose port "
              "another program has now? kelpctl naming shows whether the entry is ours.");
    EXPECT_EQ(
        sentence(Step::Factory, Cause::NoAnswer, "10.0.0.5:4001"),
        "The session factory at 10.0.0.5:4001 accepts connections but did not answer within 5 "
        "s: kelpd hangs or is overloaded, or another program has this port. See kelpctl "
        "status.");
}

TEST(CheckSentence, GivesTheReasonOfARefusedLogInAndTheRemedy) {
    EXPECT_EQ(
        sentence(Step::LogIn, Cause::Denied, "", "(76545956) The user's account is disabled."),
        "Log-in of probe refused: The user's account is disabled. kelpctl user enable probe "
        "enables it.");
    EXPECT_EQ(sentence(Step::LogIn, Cause::Denied, "",
                       "(76545955) The user name or the password is wrong."),
              "Log-in of probe refused: The user name or the password is wrong. Give the right "
              "password in --password-file; further wrong ones lock probe out.");
}

TEST(CheckSentence, KnowsTheRemedyByTheCodeWhateverTheTextOfTheSite) {
    EXPECT_EQ(sentence(Step::LogIn, Cause::Denied, "", "(76545956) Konto gesperrt"),
              "Log-in of probe refused: Konto gesperrt. kelpctl user enable probe enables it.");
}

TEST(CheckSentence, AdvisesTheSecurityLogForAnUnknownRefusal) {
    const std::string advice = ". kelpctl audit --event login --since 5m shows it.";
    for (const char* reason : {"Go away", "(1) Go away", "()", "(", "(76545956)", ") (76545956) x"})
        EXPECT_TRUE(sentence(Step::LogIn, Cause::Denied, "", reason).ends_with(advice)) << reason;
    EXPECT_EQ(sentence(Step::LogIn, Cause::Denied, "", ""),
              "Log-in of probe refused: no reason was given" + advice);
}

TEST(CheckSentence, EscapesAndTruncatesWhatPeersChose) {
    const std::string hostile = "\x1b[2J\n\xff" + std::string(100000, 'x');
    CheckTarget checked = target();
    checked.path = hostile;
    checked.user = hostile;
    for (int step = 0; step <= static_cast<int>(Step::LogOut); ++step) {
        for (int cause = 0; cause <= static_cast<int>(Cause::Other); ++cause) {
            const std::string text = sentence(static_cast<Step>(step), static_cast<Cause>(cause),
                                              hostile, hostile, checked);
            EXPECT_LT(text.size(), 2000u);
            EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](char each) {
                return each >= ' ' && each <= '~';
            })) << text;
        }
    }
}

TEST(CheckSentence, EverySentenceHasOneEnd) {
    for (int step = 0; step <= static_cast<int>(Step::LogOut); ++step) {
        for (int cause = 0; cause <= static_cast<int>(Cause::Other); ++cause) {
            const std::string text = sentence(static_cast<Step>(step), static_cast<Cause>(cause));
            EXPECT_TRUE(text.ends_with('.') || text.ends_with('?')) << text;
            EXPECT_EQ(text.find(".."), std::string::npos) << text;
        }
    }
}

}  // namespace
}  // namespace kelp::ctl
