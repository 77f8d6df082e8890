#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mtnm/notifications.h>

#include <sstream>
#include <vector>

#include "event_fields.h"
#include "notify/suppiler_mgr_callback.h"

namespace NS_KELPCORBA {
namespace {

using test::addField;
using test::pairs;
using testing::ElementsAre;

std::vector<std::string> rendered(const CosNotification::StructuredEvent& event) {
    std::stringstream out;
    SuppilerMgrCallBack().FormatAlarmLog(out, event);
    std::vector<std::string> lines;
    for (std::string line; std::getline(out, line);)
        lines.push_back(line);
    return lines;
}

/// Return the value of an entry; "none" if it does not exist.
std::string entry(const CosNotification::StructuredEvent& event, const std::string& name) {
    for (const std::string& line : rendered(event)) {
        if (line.rfind(name + "=", 0) == 0)
            return line.substr(name.size() + 1);
    }
    return "none";
}

TEST(AlarmLogText, OfAnEventWithoutFieldsHasThirteenEntries) {
    EXPECT_THAT(rendered(CosNotification::StructuredEvent()),
                ElementsAre("objectName=", "nativeEMSName=", "nativeProbableCause=", "emsTime=",
                            "neTime=", "isClearable=TRUE", "probableCause=",
                            "probableCauseQualifier=", "affectedTPList=", "additionalText=",
                            "additionalInfo=", "X.733::EventType=", "objectTypeQualifier="));
}

TEST(AlarmLogText, OfAWholeAlarmHasSeventeenEntriesInTheirOrder) {
    CosNotification::StructuredEvent event;
    addField(event, "notificationId") <<= "17";
    addField(event, "objectName") <<= pairs({{"EMS", "Kelp/EMS"}, {"ManagedElement", "1"}});
    addField(event, "nativeEMSName") <<= "NE 1";
    addField(event, "nativeProbableCause") <<= "R_LOS";
    addField(event, "objectType") <<= notifications::OT_MANAGED_ELEMENT;
    addField(event, "objectTypeQualifier") <<= "q";
    addField(event, "emsTime") <<= "20240105030405.0Z";
    addField(event, "neTime") <<= "20240105030404.0Z";
    addField(event, "isClearable") <<= CORBA::Any::from_boolean(false);
    addField(event, "layerRate") <<= CORBA::Short(20);
    addField(event, "probableCause") <<= "LOS";
    addField(event, "probableCauseQualifier") <<= "1:2:3";
    addField(event, "perceivedSeverity") <<= notifications::PS_CRITICAL;
    addField(event, "serviceAffecting") <<= notifications::SA_SERVICE_AFFECTING;
    globaldefs::NamingAttributesList_T affected;
    affected.length(1);
    affected[0] = pairs({{"PTP", "1"}});
    addField(event, "affectedTPList") <<= affected;
    addField(event, "additionalText") <<= "fibre\ncut";
    addField(event, "additionalInfo") <<= pairs({{"a", "1"}, {"b", "2"}});
    addField(event, "X.733::EventType") <<= "communicationsAlarm";
    EXPECT_THAT(
        rendered(event),
        ElementsAre("objectName=EMS=Kelp/EMS\\nManagedElement=1\\n", "nativeEMSName=NE 1",
                    "nativeProbableCause=R_LOS", "objectType=1", "emsTime=20240105030405.0Z",
                    "neTime=20240105030404.0Z", "isClearable=TRUE", "layerRate=20",
                    "probableCause=LOS", "probableCauseQualifier=1:2:3", "perceivedSeverity=1",
                    "serviceAffecting=1", "affectedTPList=", "additionalText=fibre\\ncut",
                    "additionalInfo=a=1\\nb=2\\n", "X.733::EventType=communicationsAlarm",
                    "objectTypeQualifier=q"));
}

TEST(AlarmLogText, LeavesOutATextOfAnotherType) {
    CosNotification::StructuredEvent event;
    addField(event, "nativeEMSName") <<= CORBA::Long(7);
    addField(event, "additionalText") <<= CORBA::Any::from_boolean(true);
    EXPECT_EQ(entry(event, "nativeEMSName"), "none");
    EXPECT_EQ(entry(event, "additionalText"), "none");
    EXPECT_EQ(entry(event, "emsTime"), "");
}

TEST(AlarmLogText, LeavesOutNumbersOfValueZeroAndOfAnotherType) {
    CosNotification::StructuredEvent event;
    addField(event, "objectType") <<= notifications::OT_EMS;
    addField(event, "layerRate") <<= CORBA::Short(0);
    addField(event, "perceivedSeverity") <<= notifications::PS_INDETERMINATE;
    addField(event, "serviceAffecting") <<= "yes";
    for (const char* name : {"objectType", "layerRate", "perceivedSeverity", "serviceAffecting"})
        EXPECT_EQ(entry(event, name), "none") << name;
}

TEST(AlarmLogText, WritesANegativeLayerRate) {
    CosNotification::StructuredEvent event;
    addField(event, "layerRate") <<= CORBA::Short(-1);
    EXPECT_EQ(entry(event, "layerRate"), "-1");
}

TEST(AlarmLogText, LeavesOutUnknownFields) {
    CosNotification::StructuredEvent event;
    addField(event, "notificationId") <<= "17";
    for (const char* name :
         {"X.733::SpecificProblems", "X.733::ProposedRepairActions", "X.733::AdditionalInfo"})
        addField(event, name) <<= globaldefs::NamingAttributesList_T();
    addField(event, "vendorsOwn") <<= "text";
    EXPECT_EQ(rendered(event), rendered(CosNotification::StructuredEvent()));
}

TEST(AlarmLogText, IsAppendedToWhatIsThere) {
    std::stringstream out;
    out << "before\n";
    SuppilerMgrCallBack().FormatAlarmLog(out, CosNotification::StructuredEvent());
    EXPECT_EQ(out.str().rfind("before\nobjectName=\n", 0), 0u);
}

TEST(AlarmLogText, SaysClearableWhateverTheAlarmSays) {
    CosNotification::StructuredEvent event;
    addField(event, "isClearable") <<= CORBA::Any::from_boolean(false);
    EXPECT_EQ(entry(event, "isClearable"), "TRUE");
}

TEST(AlarmLogText, RendersAnEmptyAdditionalInfoAsOneBlank) {
    CosNotification::StructuredEvent event;
    addField(event, "additionalInfo") <<= globaldefs::NVSList_T();
    addField(event, "objectName") <<= globaldefs::NVSList_T();
    EXPECT_EQ(entry(event, "additionalInfo"), " ");
    EXPECT_EQ(entry(event, "objectName"), "");
}

TEST(AlarmLogText, TreatsListsOfAnotherTypeAsMissing) {
    CosNotification::StructuredEvent event;
    addField(event, "additionalInfo") <<= "text";
    addField(event, "objectName") <<= CORBA::Long(1);
    EXPECT_EQ(entry(event, "additionalInfo"), "");
    EXPECT_EQ(entry(event, "objectName"), "");
}

TEST(AlarmLogText, UsesTheFirstOfTwoFieldsOfOneName) {
    CosNotification::StructuredEvent event;
    addField(event, "emsTime") <<= "first";
    addField(event, "emsTime") <<= "second";
    EXPECT_EQ(entry(event, "emsTime"), "first");
    addField(event, "nativeEMSName") <<= CORBA::Long(7);
    addField(event, "nativeEMSName") <<= "second";
    EXPECT_EQ(entry(event, "nativeEMSName"), "none") << "the first one, of another type";
}

TEST(AlarmLogText, EscapesAListThatHoldsLineEndsOnceMore) {
    CosNotification::StructuredEvent event;
    addField(event, "objectName") <<= pairs({{"ME", "a\nb\\c"}});
    EXPECT_EQ(entry(event, "objectName"), R"(ME=a\\nb\\\\c\n)");
}

}  // namespace
}  // namespace NS_KELPCORBA
