#include "ems_mgr.h"

#include <gtest/gtest.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/bundlemgr/error_catalogue.h>

#include <functional>
#include <map>
#include <string>

#include "support/orb_fixture.h"
#include "support/temporary_directory.h"

namespace kelp::ems {
namespace {

using NS_BUNDLEMGR1::ConfigStore;

/// The manager as an NMS calls it: over a connection, through a real ORB.
class EmsMgr : public testing::Test {
  protected:
    EmsMgr() : servant_(new EmsMgr_IImpl), owner_(servant_) {
        configure("");
        const PortableServer::ObjectId_var id = orb_.root()->activate_object(servant_);
        const CORBA::Object_var object = orb_.root()->id_to_reference(id.in());
        const CORBA::Object_var remote = orb_.overTheWire(object.in());
        ems_ = emsMgr::EMSMgr_I::_unchecked_narrow(remote.in());
    }

    void configure(const std::string& more) {
        const std::string inventory = (folder_.path() / "inventory.db").string();
        ASSERT_TRUE(ConfigStore::instance()
                        .loadText("[inventory]\ndatabase = \"" + inventory + "\"\n" + more, "test")
                        .empty());
    }

    std::map<std::string, std::string> capabilities() {
        common::CapabilityList_T_var list;
        ems_->getCapabilities(list.out());
        std::map<std::string, std::string> all;
        for (CORBA::ULong i = 0; i < list->length(); ++i)
            all[list[i].name.in()] = list[i].value.in();
        EXPECT_EQ(all.size(), list->length()) << "a capability is told twice";
        return all;
    }

    static void expectNotImplemented(const std::string& operation,
                                     const std::function<void()>& call) {
        try {
            call();
            ADD_FAILURE() << operation << " succeeded";
        } catch (const globaldefs::ProcessingFailureException& raised) {
            EXPECT_EQ(raised.exceptionType, globaldefs::EXCPT_NOT_IMPLEMENTED) << operation;
        }
    }

    const test::TemporaryDirectory folder_;
    test::RunningOrb orb_;
    EmsMgr_IImpl* servant_;
    PortableServer::ServantBase_var owner_;
    emsMgr::EMSMgr_I_var ems_;
};

TEST_F(EmsMgr, EmsIsDescribedByTheConfiguration) {
    configure("[ems]\nname = \"Acme/North\"\n");
    emsMgr::EMS_T_var ems;
    ems_->getEMS(ems.out());
    ASSERT_EQ(ems->name.length(), 1u);
    EXPECT_STREQ(ems->name[0].name, "EMS");
    EXPECT_STREQ(ems->name[0].value, "Acme/North");
    EXPECT_STREQ(ems->nativeEMSName, "North");
    EXPECT_STREQ(ems->userLabel, "North");
    EXPECT_STREQ(ems->owner, "");
    EXPECT_STREQ(ems->emsVersion, KELP_VERSION);
    EXPECT_EQ(ems->additionalInfo.length(), 0u);
}

TEST_F(EmsMgr, CapabilitiesNameEveryOperationWithModuleAndInterface) {
    const auto all = capabilities();
    EXPECT_EQ(all.size(), 37u);
    EXPECT_EQ(all.at("emsMgr::EMSMgr_I::getEMS"), "Supported");
    EXPECT_EQ(all.at("common::Common_I::getCapabilities"), "Supported");
    EXPECT_EQ(all.at("common::Common_I::setUserLabel"), "Supported");
    EXPECT_EQ(all.at("emsMgr::EMSMgr_I::getASAPAssociatedResourceNames"), "Unsupported");
}

TEST_F(EmsMgr, OperationsThatAreNotSupportedSayThatTheyAreNotImplemented) {
    const globaldefs::NamingAttributes_T name;
    globaldefs::NVSList_T changedInfo;
    const std::map<std::string, std::function<void()>> calls = {
        {"common::Common_I::setAdditionalInfo",
         [&] { ems_->setAdditionalInfo(name, changedInfo); }},
        {"emsMgr::EMSMgr_I::deleteTopologicalLink", [&] { ems_->deleteTopologicalLink(name); }},
        {"emsMgr::EMSMgr_I::deleteASAP", [&] { ems_->deleteASAP(name, changedInfo); }},
        {"emsMgr::EMSMgr_I::getASAP",
         [&] {
             aSAP::ASAP_T_var profile;
             ems_->getASAP(name, profile.out());
         }},
    };
    const auto told = capabilities();
    for (const auto& [operation, call] : calls) {
        EXPECT_EQ(told.at(operation), "Unsupported") << operation;
        expectNotImplemented(operation, call);
    }
}

TEST_F(EmsMgr, ReasonOfARefusalComesFromTheErrorCatalogue) {
    const test::TemporaryDirectory folder;
    NS_BUNDLEMGR1::ErrorCatalogue catalogue;
    ASSERT_TRUE(catalogue
                    .load(folder.write("errors.toml",
                                       "[errors]\n\"0x41180032\" = \"no such operation here\"\n"))
                    .empty());
    NS_BUNDLEMGR1::SetIFBuf("ErrorCodeBufIf", &catalogue);
    try {
        ems_->deleteTopologicalLink(globaldefs::NamingAttributes_T());
        FAIL() << "the call succeeded";
    } catch (const globaldefs::ProcessingFailureException& raised) {
        EXPECT_STREQ(raised.errorReason, "(1092091954) no such operation here");
    }
}

}  // namespace
}  // namespace kelp::ems
