// Entries of a sequence that a servant gives already encoded.

#include <gmock/gmock.h>
#include <kelp/orb/ready_entries.h>
#include <kelp/orb/timeouts.h>
#include <mtnm/globaldefs.h>

#include <cstring>
#include <functional>
#include <optional>

#include "raw_connection.h"
#include "support/orb_fixture.h"

namespace kelp::test::ready_entries {
namespace {

using globaldefs::NamingAttributesList_T;
using globaldefs::NamingAttributesList_T_out;
using globaldefs::NamingAttributesList_T_var;

/// `count` names, each with one component whose value has `length` characters.
orb::ReadyEntries names(std::uint32_t count, std::size_t length) {
    orb::ReadyEntries entries{count, {}};
    const auto number = [&](std::size_t value) {
        entries.octets.append((4 - entries.octets.size() % 4) % 4, '\0');
        const auto narrow = static_cast<std::uint32_t>(value);
        char bytes[sizeof narrow];
        std::memcpy(bytes, &narrow, sizeof narrow);
        entries.octets.append(bytes, sizeof narrow);
    };
    for (std::uint32_t i = 0; i < count; ++i) {
        number(1);
        number(2);
        entries.octets.append("N", 2);
        number(length + 1);
        entries.octets.append(length, static_cast<char>('a' + i % 26)).push_back('\0');
    }
    return entries;
}

void expectNames(const NamingAttributesList_T& list, std::uint32_t count, std::size_t length) {
    ASSERT_EQ(list.length(), count);
    for (CORBA::ULong i = 0; i < count; ++i) {
        ASSERT_EQ(list[i].length(), 1u);
        EXPECT_STREQ(list[i][0].name, "N");
        EXPECT_EQ(std::string(list[i][0].value.in()),
                  std::string(length, static_cast<char>('a' + i % 26)));
    }
}

/// Runs a function of the test in each call.
class ScriptedIterator final : public virtual POA_globaldefs::NamingAttributesIterator_I {
  public:
    std::function<void(NamingAttributesList_T&)> script;
    CORBA::Boolean next_n(CORBA::ULong, NamingAttributesList_T_out list) override {
        NamingAttributesList_T_var entries = new NamingAttributesList_T;
        script(entries.inout());
        list = entries._retn();
        return true;
    }
    CORBA::ULong getLength() override { return orb::takesReadyEntries() ? 1 : 0; }
    void destroy() override {}
};

class ReadyEntriesTest : public testing::Test {
  protected:
    ReadyEntriesTest() {
        orb::setThreadTimeout(std::chrono::seconds(30));
        orb_.emplace();
        servant_ = new ScriptedIterator;
        const PortableServer::ServantBase_var owner(servant_);
        const PortableServer::ObjectId_var id = orb_->root()->activate_object(servant_);
        const CORBA::Object_var object = orb_->root()->id_to_reference(id.in());
        local_ = globaldefs::NamingAttributesIterator_I::_narrow(object.in());
        const CORBA::Object_var remote = orb_->overTheWire(object.in());
        remote_ = globaldefs::NamingAttributesIterator_I::_unchecked_narrow(remote.in());
    }
    void TearDown() override {
        local_ = globaldefs::NamingAttributesIterator_I::_nil();
        remote_ = globaldefs::NamingAttributesIterator_I::_nil();
        orb_.reset();
    }
    static NamingAttributesList_T_var next(globaldefs::NamingAttributesIterator_I_ptr from) {
        NamingAttributesList_T_var list;
        EXPECT_TRUE(from->next_n(1, list.out()));
        return list;
    }

    std::optional<RunningOrb> orb_;
    ScriptedIterator* servant_ = nullptr;  // owned by the POA, until the ORB stops
    globaldefs::NamingAttributesIterator_I_var local_;
    globaldefs::NamingAttributesIterator_I_var remote_;
};

TEST_F(ReadyEntriesTest, AreReceivedAsTheSequenceWhateverTheirNumberAndSize) {
    for (const std::uint32_t count : {0u, 1u, 7u, 2000u}) {
        for (const std::size_t length : {0u, 1u, 5u, 700u, 20000u}) {
            if (count * length > 5000000)
                continue;
            servant_->script = [&](auto&) {
                orb::answerWith(names(count, length), orb::SequencePlace::AfterBoolean);
            };
            expectNames(next(remote_.in()).in(), count, length);
        }
    }
}

TEST_F(ReadyEntriesTest, AreNotTakenFromAServantThatIsCalledInsideTheProcess) {
    EXPECT_EQ(local_->getLength(), 0u);
    EXPECT_EQ(remote_->getLength(), 1u);
    EXPECT_FALSE(orb::takesReadyEntries());
    EXPECT_THROW(orb::answerWith({}, orb::SequencePlace::First), CORBA::BAD_INV_ORDER);
    servant_->script = [&](auto&) {
        EXPECT_TRUE(orb::takesReadyEntries());
        EXPECT_EQ(local_->getLength(), 0u) << "the reply is not that of this call";
        EXPECT_TRUE(orb::takesReadyEntries());
        orb::answerWith(names(1, 3), orb::SequencePlace::AfterBoolean);
    };
    expectNames(next(remote_.in()).in(), 1, 3);
}

TEST_F(ReadyEntriesTest, AreDroppedWhenTheServantRaisesAnException) {
    servant_->script = [](auto&) {
        orb::answerWith(names(1, 3), orb::SequencePlace::AfterBoolean);
        throw globaldefs::ProcessingFailureException(globaldefs::EXCPT_INTERNAL_ERROR, "no");
    };
    NamingAttributesList_T_var list;
    EXPECT_THROW(remote_->next_n(1, list.out()), globaldefs::ProcessingFailureException);
    servant_->script = [](auto&) {};
    EXPECT_EQ(next(remote_.in())->length(), 0u);
}

TEST_F(ReadyEntriesTest, AreGivenAtMostOnce) {
    servant_->script = [](auto&) {
        orb::answerWith(names(2, 3), orb::SequencePlace::AfterBoolean);
        EXPECT_THROW(orb::answerWith(names(1, 1), orb::SequencePlace::AfterBoolean),
                     CORBA::BAD_INV_ORDER);
    };
    expectNames(next(remote_.in()).in(), 2, 3);
}

TEST_F(ReadyEntriesTest, AreNotTakenByAClientWithAnotherCodeSet) {
    orb::ReferenceContent content;
    ASSERT_TRUE(orb::describe(orb_->orb(), remote_.in(), content));
    for (const std::uint8_t minor : {std::uint8_t{0}, std::uint8_t{1}, std::uint8_t{2}}) {
        GiopRequest request;
        request.minor = minor;
        request.key = content.objectKey;
        request.operation = "getLength";
        const RawConnection connection(orb_->port());
        connection.send(requestMessage(request));
        const std::optional<Answer> answer = connection.receive();
        ASSERT_TRUE(answer);
        // the number follows the header of the reply
        EXPECT_EQ(answer->content.substr(24), std::string(4, '\0'));
    }
}

}  // namespace
}  // namespace kelp::test::ready_entries
