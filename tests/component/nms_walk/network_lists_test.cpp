#include "upload/network_lists.h"

#include <gmock/gmock.h>

#include "fake_ems.h"

namespace kelp::test {
namespace {

using nms::ListKind;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class NetworkListsTest : public testing::Test {
  protected:
    NetworkListsTest() {
        options_.format = nms::Format::Json;
        options_.batch = 2;
    }

    /// Read the list. Keep its output and its messages, even if it throws.
    bool read(ListKind kind) {
        if (!session_)
            session_ = sessionWith(network_, orb_);
        progress_ = std::make_unique<nms::WalkProgress>("list");
        task_ = std::make_unique<nms::NetworkLists>(kind, options_, *progress_);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const Captured captured{*this};
        return task_->run(*session_);
    }
    /// Return the names in the output, without the EMS.
    std::vector<std::string> written() const {
        std::vector<std::string> names;
        std::istringstream lines(written_);
        for (std::string line; std::getline(lines, line);) {
            std::string name;
            const auto json = nlohmann::ordered_json::parse(line);
            for (const auto& part : json["name"]) {
                if (part["name"] != "EMS")
                    name += (name.empty() ? "" : " ") + part["value"].get<std::string>();
            }
            names.push_back(name);
        }
        return names;
    }
    struct Captured {
        ~Captured() {
            test.written_ = testing::internal::GetCapturedStdout();
            test.told_ = testing::internal::GetCapturedStderr();
        }
        NetworkListsTest& test;
    };

    RunningOrb orb_;
    FakeNetwork network_;
    std::unique_ptr<nms::NmsSession> session_;
    nms::ListOptions options_;
    std::unique_ptr<nms::WalkProgress> progress_;
    std::unique_ptr<nms::NetworkLists> task_;
    std::string written_;
    std::string told_;
};

TEST_F(NetworkListsTest, ElementsBeginWithTheOneNamed) {
    network_.addElements(5);
    EXPECT_TRUE(read(ListKind::Elements));
    EXPECT_THAT(written(), ElementsAre("NE-1", "NE-2", "NE-3", "NE-4", "NE-5"));
    options_.from = "NE-4";
    EXPECT_TRUE(read(ListKind::Elements));
    EXPECT_THAT(written(), ElementsAre("NE-4", "NE-5"));
}

TEST_F(NetworkListsTest, PortsComeElementByElementInTheElementsOrder) {
    network_.addElements(3);
    network_.portsEach = 2;
    EXPECT_TRUE(read(ListKind::Ports));
    EXPECT_THAT(written(), ElementsAre("NE-1 /port=1", "NE-1 /port=2", "NE-2 /port=1",
                                       "NE-2 /port=2", "NE-3 /port=1", "NE-3 /port=2"));
    options_.from = "NE-3";
    EXPECT_TRUE(read(ListKind::Ports));
    EXPECT_THAT(written(), ElementsAre("NE-3 /port=1", "NE-3 /port=2"));
}

TEST_F(NetworkListsTest, ElementsThatAreNamedAreReadInThatOrderAndOnce) {
    network_.addElements(3);
    network_.portsEach = 1;
    options_.elements = {"NE-3", "NE-1", "NE-3"};
    EXPECT_TRUE(read(ListKind::Ports));
    EXPECT_THAT(written(), ElementsAre("NE-3 /port=1", "NE-1 /port=1"));
    EXPECT_THAT(told_, HasSubstr("NE-3 is listed more than once"));
    options_.from = "NE-1";
    EXPECT_TRUE(read(ListKind::Ports));
    EXPECT_THAT(written(), ElementsAre("NE-1 /port=1"));
}

TEST_F(NetworkListsTest, ElementToBeginWithMustExist) {
    network_.addElements(3);
    options_.from = "NE-9";
    for (const ListKind kind : {ListKind::Elements, ListKind::Ports, ListKind::Equipment}) {
        try {
            read(kind);
            FAIL() << "there is no such element";
        } catch (const std::invalid_argument& problem) {
            EXPECT_THAT(problem.what(), HasSubstr("there is no element \"NE-9\""));
        }
        EXPECT_EQ(written_, "");
    }
}

TEST_F(NetworkListsTest, EquipmentNeedsItsManager) {
    network_.addElements(1);
    EXPECT_TRUE(read(ListKind::Equipment));
    EXPECT_THAT(written(), ElementsAre("NE-1 /shelf=1", "NE-1 /shelf=1/slot=1 1"));
    session_.reset();
    network_.hasEquipment = false;
    EXPECT_THROW(read(ListKind::Equipment), nms::NoSuchManager);
    EXPECT_EQ(written_, "");
}

TEST_F(NetworkListsTest, EquipmentNeedsAManagerThatImplementsIt) {
    network_.addElements(1);
    network_.implementsEquipment = false;
    EXPECT_THROW(read(ListKind::Equipment), nms::NoSuchManager);
    EXPECT_EQ(written_, "");
}

TEST_F(NetworkListsTest, LinksInSubnetworksAreLeftOutWhereTheManagerDoesNotImplementThem) {
    network_.links = 2;
    network_.subnetworks = {{"north", {"a"}}, {"south", {"b"}}};
    network_.implementsSubnetworks = false;
    EXPECT_TRUE(read(ListKind::Links));
    EXPECT_THAT(told_, HasSubstr("links in subnetworks are left out"));
}

TEST_F(NetworkListsTest, ElementThatFailedIsNotCountedAsWritten) {
    network_.addElements(5);
    network_.iterators.onNext = [this](CORBA::ULong) {
        if (network_.iterators.nexts == 2)
            throw CORBA::COMM_FAILURE();
    };
    EXPECT_THROW(read(ListKind::Elements), nms::CallFailed);
    EXPECT_THAT(written(), ElementsAre("NE-1", "NE-2", "NE-3"));
    EXPECT_EQ(task_->cutShort(), "cut short after 3 elements; continue with --from \"NE-4\"");
}

TEST_F(NetworkListsTest, FailureInTheMiddleOfAnElementSaysWhatToDrop) {
    network_.addElements(3);
    network_.onPorts = [this](const std::string& element) {
        network_.iterators.nexts = element == "NE-2" ? 100 : 0;
    };
    network_.iterators.onNext = [this](CORBA::ULong) {
        if (network_.iterators.nexts == 102)
            throw refusal(globaldefs::EXCPT_INTERNAL_ERROR);
    };
    EXPECT_THROW(read(ListKind::Ports), nms::ProcessingFailure);
    EXPECT_EQ(written().size(), 9u);
    EXPECT_EQ(task_->cutShort(),
              "cut short after 9 ports, of which the last 4 are of NE-2 and not all of it: drop "
              "these and continue with --from \"NE-2\"");
    EXPECT_EQ(network_.iterators.destroyed, 1);
}

TEST_F(NetworkListsTest, ElementThatTheEmsNoLongerHasIsOmittedWithAMessage) {
    network_.addElements(3);
    network_.portsEach = 1;
    for (const auto type : {globaldefs::EXCPT_ENTITY_NOT_FOUND, globaldefs::EXCPT_NE_COMM_LOSS}) {
        network_.onPorts = [type](const std::string& element) {
            if (element == "NE-2")
                throw refusal(type);
        };
        EXPECT_FALSE(read(ListKind::Ports)) << "what came is not all";
        EXPECT_THAT(written(), ElementsAre("NE-1 /port=1", "NE-3 /port=1"));
        EXPECT_THAT(told_, HasSubstr("getAllPTPs(NE-2): " + nms::exceptionTypeName(type)));
    }
}

TEST_F(NetworkListsTest, ElementThatIsListedTwiceIsReadOnceWithAMessage) {
    network_.addElements(3);
    network_.elements.push_back(network_.elements.front());
    network_.portsEach = 1;
    EXPECT_TRUE(read(ListKind::Ports));
    EXPECT_THAT(written(), ElementsAre("NE-1 /port=1", "NE-2 /port=1", "NE-3 /port=1"));
    EXPECT_THAT(told_, HasSubstr("NE-1 is listed more than once"));
}

TEST_F(NetworkListsTest, ElementWithAForeignNameIsShownButItsPortsAreLeftOut) {
    network_.addElements(2);
    network_.portsEach = 1;
    const Name foreign = {{"EMS", "Other/EMS"}, {"ManagedElement", "NE-1"}};
    const Name odd = {{"EMS", "Kelp/EMS"}, {"ME", "NE-7"}};
    network_.elements.insert(network_.elements.begin() + 1, foreign);
    network_.elements.push_back(odd);
    EXPECT_TRUE(read(ListKind::Elements));
    EXPECT_EQ(written().size(), 4u);
    EXPECT_FALSE(read(ListKind::Ports));
    EXPECT_THAT(written(), ElementsAre("NE-1 /port=1", "NE-2 /port=1"));
    EXPECT_THAT(told_, HasSubstr("Other/EMS"));
    EXPECT_THAT(told_, HasSubstr("NE-7"));
}

TEST_F(NetworkListsTest, LinksInSubnetworksAreReadOnceEach) {
    network_.links = 2;
    network_.subnetworks = {{"north", {"a", "b", "c"}}, {"south", {"c", "d"}}};
    EXPECT_TRUE(read(ListKind::Links)) << told_;
    EXPECT_THAT(written(), ElementsAre("1", "2", "a", "b", "c", "d"));
    network_.subnetworksAreGone = true;
    EXPECT_FALSE(read(ListKind::Links));
    EXPECT_THAT(written(), ElementsAre("1", "2"));
    EXPECT_THAT(told_, HasSubstr("getAllTopologicalLinks(north): EXCPT_ENTITY_NOT_FOUND"));
    EXPECT_THAT(told_, HasSubstr("getAllTopologicalLinks(south): EXCPT_ENTITY_NOT_FOUND"));
}

TEST_F(NetworkListsTest, DifferenceToTheEmssOwnCountIsReported) {
    network_.addElements(3);
    network_.iterators.lengthTooMuch = 1;
    EXPECT_FALSE(read(ListKind::Elements));
    EXPECT_EQ(written().size(), 3u);
    EXPECT_THAT(told_,
                HasSubstr("getAllManagedElements: the EMS said there are 4 entries, but 3 came"));
}

TEST_F(NetworkListsTest, InterruptStopsBetweenTwoBatches) {
    network_.addElements(9);
    network_.iterators.onNext = [this](CORBA::ULong) { progress_->interrupt(); };
    EXPECT_THROW(read(ListKind::Elements), nms::Interrupted);
    EXPECT_EQ(written().size(), 3u);
    EXPECT_EQ(task_->cutShort(), "cut short after 3 elements; continue with --from \"NE-4\"");
    EXPECT_EQ(network_.iterators.destroyed, 1);
}

TEST_F(NetworkListsTest, EmptyListsHaveTheirHeadings) {
    network_.links = 0;
    options_.format = nms::Format::Table;
    EXPECT_TRUE(read(ListKind::Elements));
    EXPECT_EQ(written_, "ELEMENT  LABEL  PRODUCT  VERSION  STATE  IN SYNC  LOCATION\n");
    options_.format = nms::Format::Csv;
    EXPECT_TRUE(read(ListKind::Ports));
    EXPECT_THAT(written_, testing::StartsWith("EMS,ManagedElement,PTP,FTP,name,"));
    EXPECT_THAT(written_, testing::EndsWith(",additionalInfo\r\n"));
    options_.format = nms::Format::Json;
    EXPECT_TRUE(read(ListKind::Links));
    EXPECT_EQ(written_, "");
}

}  // namespace
}  // namespace kelp::test
