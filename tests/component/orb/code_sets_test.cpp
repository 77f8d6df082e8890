// Texts for a client whose code set cannot represent all of their characters. The requests of these
// clients name no code set, which means ISO-8859-1.

#include <gtest/gtest.h>
#include <kelp/orb/timeouts.h>
#include <mtnm/globaldefs.h>
#include <mtnm/mtnmVersion.h>

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "raw_connection.h"
#include "support/orb_fixture.h"

namespace kelp::test {
namespace {

// ISO-8859-1 contains only the second and third character
constexpr const char* kPolish = "\xc5\x81\xc3\xb3\x64\xc5\xba";
constexpr const char* kFrench = "r\xc3\xa9seau";

class TextServant final : public virtual POA_mtnmVersion::Version_I {
  public:
    std::string text;
    char* getVersion() override { return CORBA::string_dup(text.c_str()); }
};

/// Refuses every call with the text as the reason.
class RefusingIterator final : public virtual POA_globaldefs::NamingAttributesIterator_I {
  public:
    std::string text;
    CORBA::Boolean next_n(CORBA::ULong, globaldefs::NamingAttributesList_T_out) override {
        refuse();
        return false;
    }
    CORBA::ULong getLength() override {
        refuse();
        return 0;
    }
    void destroy() override { refuse(); }

  private:
    void refuse() const {
        throw globaldefs::ProcessingFailureException(globaldefs::EXCPT_USERLABEL_IN_USE,
                                                     text.c_str());
    }
};

/// Records how the last request ended.
class OutcomeHook final : public orb::RequestHook {
  public:
    void received(const orb::RequestInfo&) override {}
    void dispatching(const orb::RequestInfo&) override {}
    void finished(const orb::RequestInfo&, const CORBA::Exception* raised) noexcept override {
        const std::lock_guard guard(mutex_);
        last_ = raised == nullptr ? "" : raised->_name();
    }
    void undelivered(const orb::RequestInfo&, const CORBA::Exception*) noexcept override {}
    std::string last() {
        const std::lock_guard guard(mutex_);
        return last_;
    }

  private:
    std::mutex mutex_;
    std::string last_;
};

class CodeSets : public testing::TestWithParam<std::uint8_t> {
  protected:
    CodeSets() { orb::setThreadTimeout(std::chrono::seconds(30)); }

    void start(
        orb::OrbOptions::Unconvertible unconvertible = orb::OrbOptions::Unconvertible::Refuse) {
        orb::OrbOptions options = loopbackOptions();
        options.unconvertible = unconvertible;
        orb_.emplace(&hook_, options);
        texts_ = new TextServant;
        iterator_ = new RefusingIterator;
        reference_ = activate(texts_);
        iteratorReference_ = activate(iterator_);
        connection_.emplace(orb_->port());
    }
    void TearDown() override {
        reference_ = CORBA::Object::_nil();
        iteratorReference_ = CORBA::Object::_nil();
        connection_.reset();
        orb_.reset();
    }

    CORBA::Object_ptr activate(PortableServer::Servant servant) {
        const PortableServer::ObjectId_var id = orb_->root()->activate_object(servant);
        const PortableServer::ServantBase_var owner(servant);
        return orb_->root()->id_to_reference(id.in());
    }

    Answer ask(CORBA::Object_ptr object, const char* operation) {
        orb::ReferenceContent content;
        EXPECT_TRUE(orb::describe(orb_->orb(), object, content));
        GiopRequest request;
        request.minor = GetParam();
        request.key = content.objectKey;
        request.operation = operation;
        connection_->send(requestMessage(request));
        const std::optional<Answer> answer = connection_->receive();
        EXPECT_TRUE(answer) << "the connection was closed";
        return answer.value_or(Answer{});
    }

    void expectRefused(const Answer& answer) {
        EXPECT_EQ(answer.type, GiopType::Reply);
        EXPECT_NE(answer.content.find("IDL:omg.org/CORBA/DATA_CONVERSION:1.0"), std::string::npos);
        EXPECT_EQ(hook_.last(), "DATA_CONVERSION");
    }
    void expectServed() {
        texts_->text = kFrench;
        EXPECT_NE(ask(reference_.in(), "getVersion").content.find("r\xe9seau"), std::string::npos);
        EXPECT_EQ(hook_.last(), "");
    }

    OutcomeHook hook_;
    TextServant* texts_ = nullptr;          // owned by the POA, until the ORB stops
    RefusingIterator* iterator_ = nullptr;  // owned by the POA, until the ORB stops
    std::optional<RunningOrb> orb_;
    CORBA::Object_var reference_;
    CORBA::Object_var iteratorReference_;
    std::optional<RawConnection> connection_;
};

INSTANTIATE_TEST_SUITE_P(Giop, CodeSets, testing::Values(0, 1, 2),
                         [](const auto& minor) { return "1_" + std::to_string(minor.param); });

TEST_P(CodeSets, ResultThatTheClientCannotReadIsRefusedAndTheConnectionStays) {
    start();
    texts_->text = kPolish;
    expectRefused(ask(reference_.in(), "getVersion"));
    expectServed();
}

TEST_P(CodeSets, LongResultIsRefusedForItsLastCharacter) {
    start();
    texts_->text = std::string(300000, 'x') + kPolish;
    expectRefused(ask(reference_.in(), "getVersion"));
    expectServed();
}

TEST_P(CodeSets, ReasonThatTheClientCannotReadIsRefusedAndTheConnectionStays) {
    start();
    iterator_->text = kPolish;
    expectRefused(ask(iteratorReference_.in(), "getLength"));
    iterator_->text = kFrench;
    EXPECT_NE(ask(iteratorReference_.in(), "getLength").content.find("r\xe9seau"),
              std::string::npos);
    EXPECT_EQ(hook_.last(), "ProcessingFailureException");
    expectServed();
}

TEST_P(CodeSets, QuestionMarksTakeThePlaceOfWhatTheClientCannotRead) {
    start(orb::OrbOptions::Unconvertible::QuestionMark);
    texts_->text = kPolish;
    EXPECT_NE(ask(reference_.in(), "getVersion").content.find("?\xf3\x64?"), std::string::npos);
    EXPECT_EQ(hook_.last(), "");
    iterator_->text = kPolish;
    EXPECT_NE(ask(iteratorReference_.in(), "getLength").content.find("?\xf3\x64?"),
              std::string::npos);
    expectServed();
}

TEST_P(CodeSets, ClientWithTheSameCodeSetGetsEveryTextUnchanged) {
    for (const auto unconvertible :
         {orb::OrbOptions::Unconvertible::Refuse, orb::OrbOptions::Unconvertible::QuestionMark}) {
        start(unconvertible);
        texts_->text = kPolish;
        const CORBA::Object_var remote = orb_->overTheWire(reference_.in());
        const mtnmVersion::Version_I_var object =
            mtnmVersion::Version_I::_unchecked_narrow(remote.in());
        const CORBA::String_var text = object->getVersion();
        EXPECT_STREQ(text.in(), kPolish);
        TearDown();
    }
}

}  // namespace
}  // namespace kelp::test
