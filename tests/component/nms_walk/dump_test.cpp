#include <gmock/gmock.h>

#include <fstream>

#include "fake_ems.h"
#include "support/temporary_directory.h"
#include "upload/network_dump.h"

namespace kelp::test {
namespace {

using nlohmann::ordered_json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Dump : public testing::Test {
  protected:
    Dump() {
        options_.batch = 2;
        options_.file = file().string();
    }
    std::filesystem::path file() const { return scratch_ / "network.jsonl"; }
    std::filesystem::path partial() const { return scratch_ / "network.jsonl.partial"; }

    /// Run the command with these options. The session is kept for the next run.
    bool dump() {
        if (!session_)
            session_ = sessionWith(network_, orb_);
        progress_ = std::make_unique<nms::WalkProgress>("entries");
        task_ = std::make_unique<nms::NetworkDump>(options_, *progress_);
        testing::internal::CaptureStderr();
        const Captured captured(told_);
        return task_->run(*session_);
    }
    /// Return each record as its kind and the last component of its name.
    std::vector<std::string> recordsOf(const std::filesystem::path& path) const {
        std::vector<std::string> records;
        std::istringstream lines(contentOf(path));
        for (std::string line; std::getline(lines, line);) {
            const ordered_json json = ordered_json::parse(line);
            records.push_back(json["object"].get<std::string>() + " " +
                              json["name"].back()["value"].get<std::string>());
        }
        return records;
    }
    /// Captures the messages, even if the command throws.
    struct Captured {
        explicit Captured(std::string& text) : told(text) {}
        ~Captured() { told = testing::internal::GetCapturedStderr(); }
        std::string& told;
    };

    RunningOrb orb_;
    FakeNetwork network_;
    std::unique_ptr<nms::NmsSession> session_;
    TemporaryDirectory scratch_;
    nms::DumpOptions options_;
    std::unique_ptr<nms::WalkProgress> progress_;
    std::unique_ptr<nms::NetworkDump> task_;
    std::string told_;
};

TEST_F(Dump, HasEverythingElementByElement) {
    network_.addElements(2);
    network_.portsEach = 3;
    network_.links = 1;
    network_.subnetworks = {{"north", {"2"}}};
    EXPECT_TRUE(dump()) << told_;
    EXPECT_THAT(recordsOf(file()),
                ElementsAre("EMS Kelp/EMS", "MultiLayerSubnetwork north", "ManagedElement NE-1",
                            "ManagedElement NE-2", "EquipmentHolder /shelf=1", "Equipment 1",
                            "TerminationPoint /port=1", "TerminationPoint /port=2",
                            "TerminationPoint /port=3", "EquipmentHolder /shelf=1", "Equipment 1",
                            "TerminationPoint /port=1", "TerminationPoint /port=2",
                            "TerminationPoint /port=3", "TopologicalLink 1", "TopologicalLink 2"));
    EXPECT_FALSE(std::filesystem::exists(partial()));
    EXPECT_EQ(told_, "");
    EXPECT_EQ(network_.iterators.destroyed, 0) << "all were read to their ends";
}

TEST_F(Dump, WithoutTheManagerEquipmentIsOmittedWithAMessage) {
    network_.addElements(1);
    network_.portsEach = 1;
    network_.links = 0;
    network_.hasEquipment = false;
    EXPECT_TRUE(dump());
    EXPECT_THAT(recordsOf(file()),
                ElementsAre("EMS Kelp/EMS", "ManagedElement NE-1", "TerminationPoint /port=1"));
    EXPECT_THAT(told_, HasSubstr("no manager EquipmentInventory: equipment is left out"));
}

TEST_F(Dump, EquipmentThatTheManagerDoesNotImplementIsOmittedWithOneMessage) {
    network_.addElements(2);
    network_.portsEach = 1;
    network_.links = 0;
    network_.implementsEquipment = false;
    EXPECT_TRUE(dump());
    EXPECT_THAT(recordsOf(file()),
                ElementsAre("EMS Kelp/EMS", "ManagedElement NE-1", "ManagedElement NE-2",
                            "TerminationPoint /port=1", "TerminationPoint /port=1"));
    const std::string lack =
        "the EMS does not implement getAllEquipment(NE-1): equipment is left out";
    EXPECT_THAT(told_, HasSubstr(lack));
    EXPECT_EQ(told_.find("getAllEquipment(NE-2)"), std::string::npos);
}

TEST_F(Dump, EmptyNetworkIsTheEmsAlone) {
    network_.links = 0;
    EXPECT_TRUE(dump());
    EXPECT_THAT(recordsOf(file()), ElementsAre("EMS Kelp/EMS"));
}

TEST_F(Dump, FailedDumpKeepsWholeElementsAndCanBeContinued) {
    network_.addElements(4);
    ASSERT_TRUE(dump());
    const std::string whole = contentOf(file());
    std::filesystem::remove(file());

    // the EMS fails in the middle of the third element's ports
    int batches = 0;
    network_.onPorts = [&](const std::string& element) { batches = element == "NE-3" ? 1 : 0; };
    network_.iterators.onNext = [&](CORBA::ULong) {
        if (batches > 0 && batches++ == 2)
            throw CORBA::COMM_FAILURE();
    };
    EXPECT_THROW(dump(), nms::CallFailed);
    EXPECT_THAT(task_->cutShort(), HasSubstr("continue with --from \"NE-3\""));
    EXPECT_FALSE(std::filesystem::exists(file()));
    const std::string kept = contentOf(partial());
    const std::string resume = "{\"object\":\"Resume\",\"from\":\"NE-3\"}\n";
    ASSERT_THAT(kept, testing::EndsWith(resume));
    EXPECT_THAT(whole, testing::StartsWith(kept.substr(0, kept.size() - resume.size())));

    network_.onPorts = [](const std::string&) {};
    network_.iterators.onNext = [](CORBA::ULong) {};
    options_.from = "NE-3";
    EXPECT_TRUE(dump()) << told_;
    EXPECT_EQ(contentOf(file()), whole) << "nothing is lost, nothing comes twice";
    EXPECT_FALSE(std::filesystem::exists(partial()));
}

TEST_F(Dump, DumpThatFailedAmongTheLinksContinuesWithTheLastElement) {
    network_.addElements(3);
    ASSERT_TRUE(dump());
    const std::string whole = contentOf(file());
    network_.onLinks = [] { throw refusal(globaldefs::EXCPT_INTERNAL_ERROR); };
    EXPECT_THROW(dump(), nms::ProcessingFailure);
    EXPECT_THAT(task_->cutShort(), HasSubstr("continue with --from \"NE-3\""));
    EXPECT_EQ(contentOf(file()), whole) << "the older one stays until there is a whole one";
    network_.onLinks = [] {};
    options_.from = "NE-3";
    EXPECT_TRUE(dump());
    EXPECT_EQ(contentOf(file()), whole);
}

TEST_F(Dump, NothingIsKeptBeforeTheFirstElementIsReached) {
    network_.addElements(5);
    network_.iterators.onNext = [](CORBA::ULong) {
        throw refusal(globaldefs::EXCPT_INTERNAL_ERROR);
    };
    EXPECT_THROW(dump(), nms::ProcessingFailure);
    EXPECT_THAT(task_->cutShort(), HasSubstr("begin again"));
    EXPECT_FALSE(std::filesystem::exists(partial()));
    EXPECT_EQ(network_.iterators.destroyed, 1);
}

TEST_F(Dump, ElementToContinueWithMustBeTheNextOne) {
    network_.addElements(4);
    network_.onPorts = [](const std::string& element) {
        if (element == "NE-3")
            throw refusal(globaldefs::EXCPT_INTERNAL_ERROR);
    };
    EXPECT_THROW(dump(), nms::ProcessingFailure);
    task_.reset();
    const std::string kept = contentOf(partial());
    options_.from = "NE-4";
    try {
        dump();
        FAIL() << "NE-3 would be lost";
    } catch (const std::invalid_argument& problem) {
        EXPECT_THAT(problem.what(), HasSubstr("continues with --from \"NE-3\""));
    }
    EXPECT_EQ(contentOf(partial()), kept);
}

TEST_F(Dump, KeptPartStaysWhenItCannotBeContinued) {
    network_.addElements(3);
    network_.onPorts = [](const std::string& element) {
        if (element == "NE-2")
            throw refusal(globaldefs::EXCPT_INTERNAL_ERROR);
    };
    EXPECT_THROW(dump(), nms::ProcessingFailure);
    task_.reset();
    const std::string kept = contentOf(partial());
    const auto elements = network_.elements;
    network_.elements.erase(network_.elements.begin() + 1);
    options_.from = "NE-2";
    EXPECT_THROW(dump(), std::invalid_argument);
    task_.reset();
    EXPECT_EQ(contentOf(partial()), kept) << "what is there is not lost";
}

TEST_F(Dump, ThereMustBeAnEarlierPartToContinue) {
    network_.addElements(3);
    options_.from = "NE-2";
    EXPECT_THROW(dump(), std::invalid_argument);
    std::ofstream(partial()) << "{\"object\":\"EMS\"}\n{\"object\":\"Mana";
    EXPECT_THROW(dump(), std::invalid_argument) << "a dump that was killed";
    EXPECT_EQ(contentOf(partial()), "{\"object\":\"EMS\"}\n{\"object\":\"Mana");
}

TEST_F(Dump, InterruptDestroysTheIterator) {
    network_.addElements(3);
    network_.onPorts = [this](const std::string& element) {
        if (element == "NE-2")
            progress_->interrupt();
    };
    EXPECT_THROW(dump(), nms::Interrupted);
    EXPECT_EQ(network_.iterators.destroyed, 1);
    EXPECT_THAT(task_->cutShort(), HasSubstr("continue with --from \"NE-2\""));
}

TEST_F(Dump, MissingDirectoryIsNamed) {
    network_.addElements(1);
    options_.file = (scratch_ / "none" / "network.jsonl").string();
    try {
        dump();
        FAIL() << "it cannot have been written";
    } catch (const nms::CannotWrite& problem) {
        EXPECT_THAT(problem.what(), HasSubstr("No such file"));
    }
}

}  // namespace
}  // namespace kelp::test
