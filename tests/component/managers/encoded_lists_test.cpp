// Lists whose entries are copied into the reply in their stored form: every reply has the octets
// with which the ORB would encode the same entries.

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstring>

#include "ems/ems_mgr.h"
#include "equipment/equipment_mgr.h"
#include "managedelement/managed_element_mgr.h"
#include "manager_fixture.h"
#include "multilayersubnetwork/subnetwork_mgr.h"
#include "support/cdr_shape.h"
#include "support/giop_messages.h"
#include "support/tcp_peers.h"

namespace kelp::test::encoded_lists {
namespace {

using testing::HasSubstr;
using testing::Not;

const std::string kSubnetworks =
    R"({"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"S","supportedRates":[15,11],"additionalInfo":{"k":"v"}}
{"object":"ManagedElement","ManagedElement":"A","subnetworks":["S"]}
{"object":"ManagedElement","ManagedElement":"B","subnetworks":["S"]}
{"object":"ManagedElement","ManagedElement":"C","productName":"P3"}
{"object":"TerminationPoint","ManagedElement":"C","FTP":"f1","transmissionParams":[47]}
{"object":"TopologicalLink","TopologicalLink":"A-C","rate":22,"aEndManagedElement":"A","aEndPTP":"p2","zEndManagedElement":"C","zEndFTP":"f1","additionalInfo":{"odd":"x"}}
)";

// The members of each structure, for withoutPadding().
const std::string kName = "(ss)";
const std::string kElementShape = "(ss)sssssslo(h)(ss)";
const std::string kPointShape = "(ss)sss(ss)(ss)llll(h(ss))lo(ss)";
const std::string kEitherShape = "[(ss)sssolsssss(ss)|(ss)sssos(ss)(s)l(ss)]";
const std::string kLinkShape = "(ss)ssslh(ss)(ss)(ss)";
const std::string kSubnetworkShape = "(ss)sssl(h)(ss)";

/// An operation that gives a list, with everything that precedes how many entries are wanted.
struct ListOperation {
    const char* manager;
    const char* operation;
    std::vector<std::vector<Component>> names;  ///< arguments that are names; empty ones are lists
    std::string shape;                          ///< of an entry
};

const std::vector<Component> kElementA = {{"ManagedElement", "A"}};
const std::vector<Component> kPort1 = {{"ManagedElement", "A"}, {"PTP", "p1"}};
const std::vector<Component> kBoard = {
    {"ManagedElement", "A"}, {"EquipmentHolder", "/rack=1/shelf=1/slot=1"}, {"Equipment", "1"}};
const std::vector<Component> kRing = {{"MultiLayerSubnetwork", "S"}};

const std::vector<ListOperation> kOperations = {
    {"ManagedElement", "getAllManagedElements", {}, kElementShape},
    {"ManagedElement", "getAllManagedElementNames", {}, kName},
    {"ManagedElement", "getAllPTPs", {kElementA, {}, {}}, kPointShape},
    {"ManagedElement", "getAllPTPsWithoutFTPs", {kElementA, {}, {}}, kPointShape},
    {"ManagedElement", "getAllFTPs", {kElementA, {}, {}}, kPointShape},
    {"ManagedElement", "getAllPTPNames", {kElementA, {}, {}}, kName},
    {"ManagedElement", "getAllPTPNamesWithoutFTPs", {kElementA, {}, {}}, kName},
    {"ManagedElement", "getAllFTPNames", {kElementA, {}, {}}, kName},
    {"ManagedElement", "getContainedPotentialTPs", {kPort1, {}}, kPointShape},
    {"ManagedElement", "getContainedPotentialTPNames", {kPort1, {}}, kName},
    {"ManagedElement", "getContainedInUseTPs", {kPort1, {}}, kPointShape},
    {"ManagedElement", "getContainedInUseTPNames", {kPort1, {}}, kName},
    {"ManagedElement", "getContainedCurrentTPs", {kPort1, {}}, kPointShape},
    {"ManagedElement", "getContainedCurrentTPNames", {kPort1, {}}, kName},
    {"EquipmentInventory", "getAllEquipment", {kElementA}, kEitherShape},
    {"EquipmentInventory", "getAllEquipmentNames", {kElementA}, kName},
    {"EquipmentInventory", "getAllSupportedPTPs", {kBoard}, kPointShape},
    {"EquipmentInventory", "getAllSupportedPTPNames", {kBoard}, kName},
    {"EMS", "getAllTopLevelSubnetworks", {}, kSubnetworkShape},
    {"EMS", "getAllTopLevelSubnetworkNames", {}, kName},
    {"EMS", "getAllTopLevelTopologicalLinks", {}, kLinkShape},
    {"EMS", "getAllTopLevelTopologicalLinkNames", {}, kName},
    {"MultiLayerSubnetwork", "getAllManagedElements", {kRing}, kElementShape},
    {"MultiLayerSubnetwork", "getAllManagedElementNames", {kRing}, kName},
    {"MultiLayerSubnetwork", "getAllTopologicalLinks", {kRing}, kLinkShape},
    {"MultiLayerSubnetwork", "getAllEdgePoints", {kRing, {}, {}}, kPointShape},
};

/// A client that writes its requests itself.
struct Client {
    std::uint8_t minor;  ///< of the GIOP version
    bool littleEndian;   ///< byte order of the requests
    bool hasChosenUtf8;  ///< otherwise its texts are in ISO-8859-1
};

/// Adds the service contexts of a request.
void addContexts(GiopWriter& writer, bool hasChosenUtf8) {
    writer.unsignedLong(hasChosenUtf8 ? 1 : 0);
    constexpr int kCodeSets = 1;
    if (hasChosenUtf8)
        writer.unsignedLong(kCodeSets).octets(
            std::string("\0\0\0\0\x05\x01\0\x01\0\x01\x01\x09", 12));
}

class EncodedLists : public testing::Test {
  protected:
    EncodedLists() {
        take(kNetwork);
        take(kSubnetworks);
        enter("ManagedElement", managedElement_);
        enter("EquipmentInventory", equipment_);
        enter("EMS", ems_);
        enter("MultiLayerSubnetwork", subnetwork_);
        agent_.emplace(AgentOptions().withInventory(database()));
        session_ = agent_->logIn(agent_->nms());
    }
    ~EncodedLists() override {
        session_ = emsSession::EmsSession_I::_nil();
        agent_.reset();
        for (const char* const name : entered_)
            NS_CORBA::CorbaBaseAgentConfig::Instance()->LeaveNorthMgrFactory(name);
    }

    std::string database() const { return (folder_.path() / "inventory.db").string(); }
    void take(const std::string& network) {
        const auto result =
            inventory::importInventory(database(), folder_.write("network.jsonl", network), {});
        EXPECT_EQ(result.problemCount, 0u);
    }
    void change(const std::string& sql) {
        SQLite::Database(database(), SQLite::OPEN_READWRITE).exec(sql);
    }

    /// Return the whole reply to a request, its fragments joined.
    std::string call(const Client& client, CORBA::Object_ptr object, const std::string& operation,
                     const std::string& arguments) {
        orb::ReferenceContent content;
        EXPECT_TRUE(orb::describe(agent_->orb(), object, content));
        GiopWriter writer(client.minor, client.littleEndian);
        if (client.minor >= 2) {
            writer.unsignedLong(1).octet(3).octet(0).octet(0).octet(0);
            addTarget(writer, content.objectKey, Addressing::Key);
            writer.text(operation).align(4);
            addContexts(writer, client.hasChosenUtf8);
            writer.align(8);
        } else {
            addContexts(writer, client.hasChosenUtf8);
            writer.unsignedLong(1).octet(1);
            writer.align(4);
            writer.octets(content.objectKey).text(operation).unsignedLong(0);
        }
        const Socket socket = connectTo(agent_->port());
        const std::string request = giopMessage(writer.raw(arguments), GiopType::Request);
        EXPECT_EQ(::send(socket.fd(), request.data(), request.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(request.size()));
        return received(socket);
    }
    /// Return the results in a reply.
    static std::string resultsOf(const std::string& reply) {
        constexpr std::size_t kStatusAt = 4;
        constexpr std::size_t kHeader = 12;
        const bool hasStatusSecond = reply.substr(0, 2) == "12";
        EXPECT_EQ(reply.substr(2 + (hasStatusSecond ? kStatusAt : 2 * kStatusAt), 4),
                  std::string(4, '\0'))
            << "an exception";
        return reply.substr(2 + kHeader);
    }
    /// Return the arguments of a list operation.
    static std::string argumentsOf(const ListOperation& operation, const Client& client,
                                   std::uint32_t howMany) {
        GiopWriter writer(2, client.littleEndian);
        for (const std::vector<Component>& name : operation.names) {
            writer.unsignedLong(name.empty() ? 0 : static_cast<std::uint32_t>(name.size()) + 1);
            if (!name.empty())
                writer.text("EMS").text("Kelp/EMS");
            for (const Component& component : name)
                writer.text(component.name).text(component.value);
        }
        return writer.unsignedLong(howMany).message(0).substr(12);
    }
    std::string list(const ListOperation& operation, const Client& client,
                     std::uint32_t howMany = 1000) {
        const auto manager =
            agent_->template remoteManager<common::Common_I>(session_.in(), operation.manager);
        return resultsOf(call(client, manager.in(), operation.operation,
                              argumentsOf(operation, client, howMany)));
    }

    TemporaryDirectory folder_;
    std::optional<RunningAgent> agent_;
    emsSession::EmsSession_I_var session_;

  private:
    template <class Factory>
    void enter(const char* name, Factory& factory) {
        NS_CORBA::CorbaBaseAgentConfig::Instance()->EnterNorthMgrFactory(name, &factory);
        entered_.push_back(name);
    }
    static std::string exactly(const Socket& socket, std::size_t count) {
        std::string bytes(count, '\0');
        EXPECT_EQ(::recv(socket.fd(), bytes.data(), count, MSG_WAITALL),
                  static_cast<ssize_t>(count));
        return bytes;
    }
    /// Return the version's digits, then the content of the reply with that of its fragments.
    static std::string received(const Socket& socket) {
        std::string content;
        for (bool isMore = true; isMore;) {
            const std::string header = exactly(socket, 12);
            std::uint32_t size = 0;
            std::memcpy(&size, header.data() + 8, sizeof size);
            const bool isFirst = content.empty();
            if (isFirst)
                content = {'1', static_cast<char>('0' + header[5])};
            const std::string part = exactly(socket, size);
            // a fragment of GIOP 1.2 begins with the request id
            content += part.substr(!isFirst && header[5] == 2 ? 4 : 0);
            isMore = (header[6] & 2) != 0;
        }
        return content;
    }

    managers::ServantFactory<managedelement::ManagedElementMgr_I> managedElement_;
    managers::ServantFactory<equipmentinventory::EquipmentInventoryMgr_I> equipment_;
    managers::ServantFactory<ems::EmsMgr_IImpl> ems_;
    managers::ServantFactory<multilayersubnetwork::MultiLayerSubnetworkMgr_I> subnetwork_;
    std::vector<const char*> entered_;
};

constexpr std::uint8_t kMinors[] = {0, 1, 2};
constexpr Client kOrbEncodes{2, true, false};
constexpr Client kCopied{2, true, true};

TEST_F(EncodedLists, HaveTheOctetsOfTheOrbInEveryVersionAndByteOrderOfRequests) {
    for (const ListOperation& operation : kOperations) {
        const std::string shape = "(" + operation.shape + ")s(l)";
        const std::string expected = withoutPadding(list(operation, kOrbEncodes), 0, shape);
        EXPECT_NE(expected.substr(0, 4), std::string(4, '\0')) << operation.operation;
        for (const std::uint8_t minor : kMinors) {
            for (const bool littleEndian : {true, false}) {
                for (const bool hasChosenUtf8 : {true, false}) {
                    const std::string results =
                        list(operation, {minor, littleEndian, hasChosenUtf8});
                    EXPECT_EQ(withoutPadding(results, 0, shape), expected)
                        << operation.operation << " 1." << int{minor} << littleEndian
                        << hasChosenUtf8;
                }
            }
        }
    }
}

TEST_F(EncodedLists, HaveTheSameOctetsWithoutStoredForms) {
    const auto listOf = [this](const ListOperation& operation) {
        return withoutPadding(list(operation, kCopied), 0, "(" + operation.shape + ")s(l)");
    };
    std::vector<std::string> before;
    for (const ListOperation& operation : kOperations)
        before.push_back(listOf(operation));
    for (const std::string table : {"managed_element", "equipment_holder", "equipment",
                                    "termination_point", "topological_link", "subnetwork"})
        change("UPDATE " + table + "_encoded SET octets = zeroblob(id * 7)");
    for (std::size_t i = 0; i < kOperations.size(); ++i)
        EXPECT_EQ(listOf(kOperations[i]), before[i]) << kOperations[i].operation;
}

TEST_F(EncodedLists, ComeFromTheStoredFormsForClientsWithTheirCodeSet) {
    const ListOperation& elements = kOperations.front();
    change(
        "UPDATE managed_element_encoded SET octets = (SELECT octets FROM managed_element_encoded "
        "WHERE id = 1)");
    EXPECT_THAT(list(elements, kCopied), Not(HasSubstr("second")));
    EXPECT_THAT(list(elements, kOrbEncodes), HasSubstr("second"));
}

TEST_F(EncodedLists, FollowAChangeOfALabel) {
    const auto manager = agent_->remoteManager<common::Common_I>(session_.in(), "ManagedElement");
    manager->setUserLabel(nameOf({{"ManagedElement", "B"}}), "renamed", false);
    EXPECT_THAT(list(kOperations.front(), kCopied), HasSubstr("renamed"));
}

TEST_F(EncodedLists, ComeThroughIteratorsInTheFormOfEachCaller) {
    const ListOperation& points = kOperations[2];
    const auto manager = agent_->remoteManager<managedElementManager::ManagedElementMgr_I>(
        session_.in(), "ManagedElement");
    const auto rest = [&] {
        terminationPoint::TerminationPointList_T_var first;
        terminationPoint::TerminationPointIterator_I_var iterator;
        manager->getAllPTPs(nameOf({{"ManagedElement", "A"}}), {}, {}, 1, first.out(),
                            iterator.out());
        return iterator._retn();
    };
    const std::string shape = "o(" + points.shape + ")";
    const std::string howMany = GiopWriter(2, true).unsignedLong(1).message(0).substr(12);
    std::string whole;
    for (const std::uint8_t minor : kMinors) {
        for (const bool startsWithUtf8 : {true, false}) {
            const terminationPoint::TerminationPointIterator_I_var iterator = rest();
            std::string all;
            // the batch that was read ahead for one caller is asked for by another
            for (bool isUtf8 = startsWithUtf8, isMore = true; isMore; isUtf8 = !isUtf8) {
                const std::string results = withoutPadding(
                    resultsOf(call({minor, true, isUtf8}, iterator.in(), "next_n", howMany)), 0,
                    shape);
                isMore = results.at(0) != 0;
                all += results.substr(4);
            }
            if (whole.empty())
                whole = all;
            EXPECT_EQ(all, whole);
            EXPECT_THAT(all, HasSubstr("f1"));
        }
    }
}

}  // namespace
}  // namespace kelp::test::encoded_lists
