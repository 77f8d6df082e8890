// The results of constraints for one alarm.

#include "filter/constraint.h"

#include <gtest/gtest.h>
#include <kelp/orb/dyn_any.h>
#include <mtnm/notifications.h>

#include <memory>
#include <ostream>
#include <string>

#include "support/orb_fixture.h"
#include "support/utc_any.h"

namespace kelp::notification {
namespace {

CORBA::Any& field(CosNotification::PropertySeq& properties, const char* name) {
    properties.length(properties.length() + 1);
    CosNotification::Property& property = properties[properties.length() - 1];
    property.name = CORBA::string_dup(name);
    return property.value;
}

globaldefs::NVSList_T names(const char* me) {
    globaldefs::NVSList_T list;
    list.length(2);
    list[0].name = CORBA::string_dup("EMS");
    list[0].value = CORBA::string_dup("Kelp/EMS");
    list[1].name = CORBA::string_dup("ManagedElement");
    list[1].value = CORBA::string_dup(me);
    return list;
}

/// Return a union "switch (long) { case 1: string one; default: long other; }" with the label 7 and
/// the value 70.
CORBA::Any defaultedUnion(CORBA::ORB_ptr orb) {
    CORBA::UnionMemberSeq members;
    members.length(2);
    members[0].name = CORBA::string_dup("one");
    members[0].label <<= CORBA::Long(1);
    members[0].type = CORBA::TypeCode::_duplicate(CORBA::_tc_string);
    members[1].name = CORBA::string_dup("other");
    members[1].label <<= CORBA::Any::from_octet(0);
    members[1].type = CORBA::TypeCode::_duplicate(CORBA::_tc_long);
    const CORBA::TypeCode_var type =
        orb->create_union_tc("IDL:test/Defaulted:1.0", "Defaulted", CORBA::_tc_long, members);
    const CORBA::Object_var object = orb->resolve_initial_references("DynAnyFactory");
    const DynamicAny::DynAnyFactory_var factory = DynamicAny::DynAnyFactory::_narrow(object.in());
    const DynamicAny::DynAny_var made = factory->create_dyn_any_from_type_code(type.in());
    const DynamicAny::DynUnion_var choice = DynamicAny::DynUnion::_narrow(made.in());
    CORBA::Any seven;
    seven <<= CORBA::Long(7);
    const DynamicAny::DynAny_var discriminator = factory->create_dyn_any(seven);
    choice->set_discriminator(discriminator.in());
    const DynamicAny::DynAny_var member = choice->member();
    member->insert_long(70);
    const CORBA::Any_var any = choice->to_any();
    made->destroy();
    return any.in();
}

/// Return a critical alarm of the managed element 7.
CosNotification::StructuredEvent alarm(CORBA::ORB_ptr orb) {
    CosNotification::StructuredEvent event;
    event.header.fixed_header.event_type.domain_name = CORBA::string_dup("tmf_mtnm");
    event.header.fixed_header.event_type.type_name = CORBA::string_dup("NT_ALARM");
    event.header.fixed_header.event_name = CORBA::string_dup("e1");
    field(event.header.variable_header, "Priority") <<= CORBA::Short(3);
    CosNotification::PropertySeq& data = event.filterable_data;
    field(data, "notificationId") <<= "17";
    field(data, "objectName") <<= names("7");
    field(data, "additionalText") <<= "fibre cut at km 12";
    field(data, "layerRate") <<= CORBA::Short(20);
    field(data, "count") <<= CORBA::ULong(4000000000u);
    field(data, "big") <<= CORBA::LongLong(-5000000000);
    field(data, "ratio") <<= CORBA::Double(2.5);
    field(data, "share") <<= CORBA::Float(0.25F);
    field(data, "isClearable") <<= CORBA::Any::from_boolean(true);
    field(data, "perceivedSeverity") <<= notifications::PS_CRITICAL;
    field(data, "serviceAffecting") <<= notifications::SA_SERVICE_AFFECTING;
    globaldefs::NamingAttributesList_T affected;
    affected.length(1);
    affected[0] = names("8");
    field(data, "affectedTPList") <<= affected;
    CosNotification::EventType nested;
    nested.domain_name = CORBA::string_dup("inner");
    nested.type_name = CORBA::string_dup("structure");
    field(data, "nested") <<= nested;
    CORBA::Any inner;
    inner <<= CORBA::Long(9);
    field(data, "wrapped") <<= inner;
    CosNotification::EventTypeSeq types;
    field(data, "empty") <<= types;
    CORBA::StringSeq words;
    words.length(2);
    words[0] = CORBA::string_dup("red");
    words[1] = CORBA::string_dup("green");
    field(data, "words") <<= words;
    notifications::AlarmId_T id;
    id.objectName = names("7");
    id.layerRate = 20;
    id.probableCause = CORBA::string_dup("LOS");
    id.probableCauseQualifier = CORBA::string_dup("");
    notifications::AlarmOrTCAIdentifier_T choice;
    choice.alarmId(id);
    field(data, "choice") <<= choice;
    field(data, "defaulted") = defaultedUnion(orb);
    field(data, "when") = kelp::test::utcAny(orb, 134'000'000'000'000'000);
    event.remainder_of_body <<= nested;
    return event;
}

enum class Outcome { Matches, Fails, IsNoConstraint };

struct Case {
    const char* text;
    Outcome outcome;
};

void PrintTo(const Case& each, std::ostream* out) {
    *out << each.text;
}

constexpr Outcome kYes = Outcome::Matches;
constexpr Outcome kNo = Outcome::Fails;
constexpr Outcome kBad = Outcome::IsNoConstraint;

const Case kCases[] = {
    {"", kYes},
    {"   ", kYes},
    {"TRUE", kYes},
    {"FALSE", kNo},
    {"not FALSE", kYes},
    // the header
    {"$type_name == 'NT_ALARM'", kYes},
    {"$type_name == 'NT_HEARTBEAT'", kNo},
    {"$domain_name == 'tmf_mtnm' and $event_name == 'e1'", kYes},
    {"$.header.fixed_header.event_type.type_name == 'NT_ALARM'", kYes},
    {"$.header.fixed_header.event_type.domain_name == 'tmf_mtnm'", kYes},
    {"$.header.fixed_header.event_name == 'e2'", kNo},
    {"$.header.variable_header(Priority) == 3", kYes},
    {"$Priority > 2", kYes},
    {"$.type_name == 'NT_ALARM'", kYes},
    // filterable data in its three forms
    {"$notificationId == '17'", kYes},
    {"$.notificationId == '17'", kYes},
    {"$.filterable_data(notificationId) == '17'", kYes},
    {"$.filterable_data(nothing) == '17'", kNo},
    {"$nothing == '17'", kNo},
    {"not ($nothing == '17')", kNo},
    // existence
    {"exist $serviceAffecting", kYes},
    {"exist $nothing", kNo},
    {"not exist $nothing", kYes},
    {"exist $.filterable_data(layerRate)", kYes},
    {"exist $nothing and $nothing > 3", kNo},
    {"exist $type_name", kYes},
    {"exist $objectName(ManagedElement)", kYes},
    {"exist $objectName(PTP)", kNo},
    // numbers
    {"$layerRate == 20", kYes},
    {"$layerRate != 20", kNo},
    {"$layerRate >= 20 and $layerRate <= 20", kYes},
    {"$layerRate < 20", kNo},
    {"$layerRate > 19", kYes},
    {"$count > 3000000000", kYes},
    {"$big < -1", kYes},
    {"$ratio == 2.5", kYes},
    {"$share * 4 == 1", kYes},
    {"$ratio > 2", kYes},
    {"$layerRate + 1 == 21", kYes},
    {"$layerRate - 1 == 19", kYes},
    {"$layerRate * 2 == 40", kYes},
    {"$layerRate / 8 == 2.5", kYes},
    {"$layerRate / 0 == 1", kNo},
    {"0 - $layerRate == -20", kYes},
    {"-$layerRate == -20", kBad},
    {"$big < -3000000000", kYes},
    {"$big < -5000000001", kBad},
    {"$count == 4000000000", kYes},
    {"$count < 4294967296", kBad},
    {"$count < 4294967296.0", kYes},
    {"2 + 3 * 4 == 14", kYes},
    {"(2 + 3) * 4 == 20", kYes},
    {"$layerRate == '20'", kNo},
    {"$notificationId == 17", kNo},
    {"$notificationId + 1 == 18", kNo},
    // texts
    {"'fibre' ~ $additionalText", kYes},
    {"'copper' ~ $additionalText", kNo},
    {"$additionalText ~ 'fibre'", kNo},
    {"$additionalText < 'g'", kYes},
    {"12 ~ $additionalText", kNo},
    // booleans
    {"$isClearable", kYes},
    {"$isClearable == TRUE", kYes},
    {"not $isClearable", kNo},
    {"$isClearable == 1", kNo},
    {"$layerRate", kNo},
    {"$layerRate and TRUE", kNo},
    // enumerations by name and by number
    {"$perceivedSeverity == PS_CRITICAL", kYes},
    {"$perceivedSeverity == 'PS_CRITICAL'", kYes},
    {"$.perceivedSeverity == 'PS_MAJOR'", kNo},
    {"$perceivedSeverity == PS_MAJOR", kNo},
    {"$perceivedSeverity != PS_MAJOR", kYes},
    {"$perceivedSeverity == PS_INDETERMINATE", kNo},
    {"$perceivedSeverity == 1", kYes},
    {"$perceivedSeverity < 3", kYes},
    // structures, sequences, lists of names and values
    {"$objectName(EMS) == 'Kelp/EMS'", kYes},
    {"$objectName(ManagedElement) == '7'", kYes},
    {"$objectName(ManagedElement) == '8'", kNo},
    {"$objectName[0].value == 'Kelp/EMS'", kYes},
    {"$objectName[1].name == 'ManagedElement'", kYes},
    {"$objectName[2].name == 'ManagedElement'", kNo},
    {"$.filterable_data(objectName)[1].value == '7'", kYes},
    {"$objectName._length == 2", kYes},
    {"$empty._length == 0", kYes},
    {"$layerRate._length == 1", kNo},
    {"$affectedTPList[0](ManagedElement) == '8'", kYes},
    {"$affectedTPList[0][1].value == '8'", kYes},
    {"$nested.domain_name == 'inner'", kYes},
    {"$nested.nothing == 'inner'", kNo},
    {"$nested.1 == 'structure'", kYes},
    {"$nested.0 == 'structure'", kNo},
    {"$nested.2 == 'structure'", kNo},
    {"$nested._type_id == 'EventType'", kYes},
    {"$nested._repos_id == 'IDL:omg.org/CosNotification/EventType:1.0'", kYes},
    {"$.remainder_of_body.type_name == 'structure'", kYes},
    {"$wrapped == 9", kYes},
    {"$.filterable_data[0].name == 'notificationId'", kYes},
    {"$.filterable_data[0].value == '17'", kYes},
    {"$.filterable_data[1].value[1].value == '7'", kYes},
    {"$.filterable_data[1000].value == '17'", kNo},
    {"$.filterable_data._length > 10", kYes},
    {"$.header.variable_header[0].name == 'Priority'", kYes},
    {"'red' in $words", kYes},
    {"'red' in words", kYes},
    {"exist words", kYes},
    {"$\\and == 1", kNo},
    {"'blue' in $words", kNo},
    {"'red' in $additionalText", kNo},
    {"$objectName == 'Kelp/EMS'", kNo},
    // unions by member, by label and by default
    {"$choice._d == ALARM", kYes},
    {"$choice.alarmId.probableCause == 'LOS'", kYes},
    {"exist $choice.tcaId", kNo},
    {"$choice.(0).probableCause == 'LOS'", kYes},
    {"$choice.('ALARM').probableCause == 'LOS'", kYes},
    {"exist $choice.(1)", kNo},
    {"exist $choice.()", kNo},
    {"default $choice._d", kNo},
    {"default $defaulted._d", kYes},
    {"default $layerRate", kNo},
    {"$defaulted.() == 70", kYes},
    {"$defaulted.other == 70", kYes},
    {"exist $defaulted.(1)", kNo},
    {"exist $defaulted.(-7)", kNo},
    {"$defaulted.(7) == 70", kYes},
    // properties by their position
    {"$.filterable_data[0].name == 'notificationId'", kYes},
    {"$.filterable_data[0].value == '17'", kYes},
    {"$.filterable_data[1].value[1].value == '7'", kYes},
    {"$.filterable_data[1].value(ManagedElement) == '7'", kYes},
    {"exist $.filterable_data[99]", kNo},
    {"exist $.filterable_data[0]", kYes},
    {"$.filterable_data._length > 10", kYes},
    {"$.header.variable_header[0].name == 'Priority'", kYes},
    {"$.header.variable_header[0].value == 3", kYes},
    {"$.header.variable_header._length == 1", kYes},
    {"exist $.header.variable_header", kYes},
    {"$.filterable_data[0].nonsense == 1", kBad},
    {"$.filterable_data.nonsense == 1", kBad},
    {"$.header.nonsense == 1", kBad},
    {"$.header.fixed_header.nonsense == 1", kBad},
    {"$type_name.nonsense == 1", kBad},
    // the current time, in units of 100 ns since 1582
    {"$curtime > 139000000000000000.0", kYes},
    {"$curtime < 200000000000000000.0", kYes},
    {"$curtime.time > 139000000000000000.0", kYes},
    {"$when < $curtime", kYes},
    {"$curtime - $when < 1.0", kNo},
    {"$when.time == 134000000000000000.0", kYes},
    {"$curtime.high > 1", kBad},
    {"TRUE or exist $curtime.nonsense", kBad},
    // and, or
    {"$layerRate == 20 or $nothing == 1", kYes},
    {"$nothing == 1 or $layerRate == 20", kNo},
    {"$layerRate == 1 and $nothing == 1", kNo},
    {"$layerRate == 20 and ($notificationId == '1' or $notificationId == '17')", kYes},
    {"not $layerRate == 20", kNo},
    // no valid constraints
    {"$layerRate ==", kBad},
    {"== 20", kBad},
    {"$layerRate == 20)", kBad},
    {"($layerRate == 20", kBad},
    {"$layerRate = 20", kBad},
    {"$type_name == 'NT_ALARM", kBad},
    {"select * from alarms", kBad},
    {"$", kNo},
    {"$type_name == \"NT_ALARM\"", kBad},
    {"$layerRate == 20;", kBad},
    {"$layerRate == 20 # all", kBad},
    {"$additionalText == 'it\\'s'", kNo},
    {"and", kBad},
    {"$layerRate == 20 20", kBad},
    {"$layerRate == 20 == TRUE", kBad},
    {"$layerRate == 20a", kBad},
    {"$layerRate == 2.0e1", kYes},
    {"$layerRate == .2e2", kYes},
    {"$layerRate == 2.0.1", kBad},
    {"$layerRate == 1e", kBad},
    {"$layerRate == 1e999", kBad},
    {"$layerRate[1", kBad},
    {"$layerRate[x]", kBad},
    {"$layerRate[99999999999]", kBad},
    {"$layerRate(7)", kBad},
    {"$layerRate.", kBad},
    {"$layerRate._length.x", kBad},
    {"$layerRate._size", kBad},
    {"not not TRUE", kBad},
    {"exist 5", kBad},
    {"5 in 6", kBad},
    {"~ 5", kBad},
    {"''", kNo},
    {"'it\\'s' ~ 'say it\\'s so'", kYes},
};

class Constraints : public testing::TestWithParam<Case> {
  protected:
    kelp::test::RunningOrb orb_;
};

TEST_P(Constraints, GiveTheExpectedResultForTheAlarm) {
    const CosNotification::StructuredEvent event = alarm(orb_.orb());
    const Case& each = GetParam();
    if (each.outcome == Outcome::IsNoConstraint) {
        EXPECT_THROW(Constraint{each.text}, ConstraintSyntaxError);
        return;
    }
    EXPECT_EQ(Constraint(each.text).matches(event), each.outcome == Outcome::Matches);
    const kelp::orb::EncodedEvent encoded(event);
    EXPECT_GT(encoded.octets(), 0u);
    EXPECT_EQ(Constraint(each.text).matches(encoded), each.outcome == Outcome::Matches);
}

INSTANTIATE_TEST_SUITE_P(Texts, Constraints, testing::ValuesIn(kCases),
                         [](const auto& test) { return "Number" + std::to_string(test.index); });

TEST(HostileConstraints, AreRefusedOrHarmless) {
    const kelp::test::RunningOrb orb;
    const CosNotification::StructuredEvent event = alarm(orb.orb());
    EXPECT_THROW(Constraint(std::string(100000, '(')), ConstraintSyntaxError);
    EXPECT_THROW(Constraint(std::string(300, '(') + "TRUE" + std::string(300, ')')),
                 ConstraintSyntaxError);
    EXPECT_THROW(Constraint(std::string("TRUE\0FALSE", 10)), ConstraintSyntaxError);
    std::string nots;
    for (int i = 0; i < 1500; ++i)
        nots += "not ";
    try {
        EXPECT_TRUE(Constraint(nots + "TRUE").matches(event));
    } catch (const ConstraintSyntaxError&) {
        // the parser's own limit
    }
    std::string longPath = "$objectName";
    for (int i = 0; i < 1000; ++i)
        longPath += "[0]";
    try {
        EXPECT_FALSE(Constraint(longPath + " == 1").matches(event));
    } catch (const ConstraintSyntaxError&) {
        // the parser's own limit
    }
    EXPECT_THROW(Constraint("9223372036854775807 + 1 == 0"), ConstraintSyntaxError);
}

}  // namespace
}  // namespace kelp::notification
