#include <optional>

#include "alarm_list_fixture.h"
#include "common/alarm_event.h"
#include "ems/ems_mgr.h"
#include "managed_element_fixture.h"

namespace kelp::test {
namespace {

using alarms::Severity;
using notifications::EventIterator_I_var;
using notifications::EventList_T_var;
using testing::ElementsAre;
using testing::IsEmpty;

notifications::ProbableCauseList_T causes(std::initializer_list<const char*> list) {
    notifications::ProbableCauseList_T all;
    all.length(static_cast<CORBA::ULong>(list.size()));
    CORBA::ULong at = 0;
    for (const char* each : list)
        all[at++] = CORBA::string_dup(each);
    return all;
}

notifications::PerceivedSeverityList_T severities(
    std::initializer_list<notifications::PerceivedSeverity_T> list) {
    notifications::PerceivedSeverityList_T all;
    all.length(static_cast<CORBA::ULong>(list.size()));
    CORBA::ULong at = 0;
    for (const auto each : list)
        all[at++] = each;
    return all;
}

class EmsAlarms : public ManagerTest<ems::EmsMgr_IImpl, emsMgr::EMSMgr_I> {
  protected:
    EmsAlarms() : ManagerTest("EMS") {}

    std::vector<std::string> all(const notifications::ProbableCauseList_T& excludedCauses = {},
                                 const notifications::PerceivedSeverityList_T& excluded = {}) {
        EventList_T_var list;
        EventIterator_I_var rest;
        manager_->getAllEMSAndMEActiveAlarms(excludedCauses, excluded, 100, list.out(), rest.out());
        EXPECT_TRUE(CORBA::is_nil(rest.in()));
        return causesOf(list.in());
    }

    std::optional<SharedAlarms> alarms_{std::in_place};
};

TEST_F(EmsAlarms, AreReturnedInTheOrderOfTheirLastEvents) {
    alarms_->report(alarmOf({{"ManagedElement", "A"}}, "LOS"));
    alarms_->report(alarmOf({}, "DISK"));
    alarms_->report(alarmOf({{"ManagedElement", "B"}}, "AIS"));
    alarms_->report(alarmOf({{"ManagedElement", "A"}}, "LOS", Severity::Minor));
    EXPECT_THAT(all(), ElementsAre("DISK", "AIS", "LOS"));
    alarms_->report(alarmOf({}, "DISK", Severity::Cleared));
    EXPECT_THAT(all(), ElementsAre("AIS", "LOS"));
}

TEST_F(EmsAlarms, AreNone) {
    EXPECT_THAT(all(), IsEmpty());
}

TEST_F(EmsAlarms, HaveTheFieldsOfTheLiveEvent) {
    alarms::Alarm alarm = alarmOf({{"ManagedElement", "A"}, {"PTP", "p1"}}, "LOS");
    alarm.additionalText = "the fibre is out";
    alarm.additionalInfo = {{"ticket", "17"}};
    const alarms::Position position = alarms_->report(alarm);
    EventList_T_var list;
    EventIterator_I_var rest;
    manager_->getAllEMSAndMEActiveAlarms({}, {}, 1, list.out(), rest.out());
    ASSERT_EQ(list->length(), 1u);
    const CosNotification::StructuredEvent& event = list[0];
    CosNotification::StructuredEvent live;
    alarm.acknowledgeIndication = alarms::Acknowledgement::Unacknowledged;
    managers::fillAlarmEvent(live, alarm, position, 0);
    EXPECT_STREQ(event.header.fixed_header.event_type.domain_name.in(), "tmf_mtnm");
    EXPECT_STREQ(event.header.fixed_header.event_type.type_name.in(), "NT_ALARM");
    ASSERT_EQ(event.filterable_data.length(), live.filterable_data.length());
    for (CORBA::ULong i = 0; i < live.filterable_data.length(); ++i) {
        EXPECT_STREQ(event.filterable_data[i].name.in(), live.filterable_data[i].name.in());
        const CORBA::TypeCode_var expected = live.filterable_data[i].value.type();
        const CORBA::TypeCode_var type = event.filterable_data[i].value.type();
        EXPECT_TRUE(type->equal(expected.in())) << event.filterable_data[i].name.in();
    }
    EXPECT_EQ(textIn(event, "notificationId"), std::to_string(position));
    EXPECT_EQ(textIn(event, "additionalText"), "the fibre is out");
}

TEST_F(EmsAlarms, OfExcludedCausesAndSeveritiesAreLeftOut) {
    alarms_->report(alarmOf({{"ManagedElement", "A"}}, "LOS", Severity::Critical));
    alarms_->report(alarmOf({{"ManagedElement", "A"}}, "AIS", Severity::Minor));
    alarms_->report(alarmOf({{"ManagedElement", "B"}}, "AIS", Severity::Warning));
    EXPECT_THAT(all(causes({"AIS"})), ElementsAre("LOS"));
    EXPECT_THAT(all({}, severities({notifications::PS_CRITICAL, notifications::PS_WARNING})),
                ElementsAre("AIS"));
    EXPECT_THAT(all(causes({"LOS"}), severities({notifications::PS_WARNING})), ElementsAre("AIS"));
    EXPECT_THAT(all(causes({"LOS", "AIS"})), IsEmpty());
}

TEST_F(EmsAlarms, ComeInBatches) {
    for (int i = 0; i < 5; ++i)
        alarms_->report(alarmOf({{"ManagedElement", "A"}}, "cause " + std::to_string(i)));
    EventList_T_var list;
    EventIterator_I_var iterator;
    manager_->getAllEMSAndMEActiveAlarms({}, {}, 2, list.out(), iterator.out());
    EXPECT_THAT(causesOf(list.in()), ElementsAre("cause 0", "cause 1"));
    // what happens meanwhile does not change the list
    alarms_->report(alarmOf({{"ManagedElement", "A"}}, "cause 3", Severity::Cleared));
    const EventIterator_I_var rest =
        agent_->overTheWire<notifications::EventIterator_I>(iterator.in());
    EXPECT_EQ(rest->getLength(), 3u);
    EXPECT_TRUE(rest->next_n(2, list.out()));
    EXPECT_THAT(causesOf(list.in()), ElementsAre("cause 2", "cause 3"));
    EXPECT_FALSE(rest->next_n(2, list.out()));
    EXPECT_THAT(causesOf(list.in()), ElementsAre("cause 4"));
}

TEST_F(EmsAlarms, OfTheEmsItselfAreSelected) {
    alarms_->report(alarmOf({{"ManagedElement", "A"}}, "LOS"));
    alarms_->report(alarmOf({}, "DISK", Severity::Minor));
    EventList_T_var list;
    EventIterator_I_var rest;
    manager_->getAllEMSSystemActiveAlarms({}, 10, list.out(), rest.out());
    EXPECT_THAT(causesOf(list.in()), ElementsAre("DISK"));
    manager_->getAllEMSSystemActiveAlarms(severities({notifications::PS_MINOR}), 10, list.out(),
                                          rest.out());
    EXPECT_THAT(causesOf(list.in()), IsEmpty());
}

TEST_F(EmsAlarms, AreRefusedWithoutAList) {
    alarms_.reset();
    expectRefusal(globaldefs::EXCPT_UNABLE_TO_COMPLY, "", [&] { all(); });
}

/// Acknowledging alarms.
class Acknowledgement : public EmsAlarms {
  protected:
    notifications::AlarmAndTCAIDList_T ids(std::initializer_list<const char*> causesOfA) {
        notifications::AlarmAndTCAIDList_T list;
        list.length(static_cast<CORBA::ULong>(causesOfA.size()));
        CORBA::ULong at = 0;
        for (const char* cause : causesOfA) {
            notifications::AlarmId_T id;
            id.objectName = nameOf({{"ManagedElement", "A"}});
            id.layerRate = 1;
            id.probableCause = CORBA::string_dup(cause);
            id.probableCauseQualifier = CORBA::string_dup("");
            list[at++].alarmId(id);
        }
        return list;
    }
    static std::vector<std::string> causesIn(const notifications::AlarmAndTCAIDList_T& list) {
        std::vector<std::string> found;
        for (CORBA::ULong i = 0; i < list.length(); ++i)
            found.push_back(list[i]._d() == notifications::ALARM
                                ? std::string(list[i].alarmId().probableCause.in())
                                : "TCA");
        return found;
    }
    static globaldefs::NVSList_T info(const char* user, const char* notepad) {
        globaldefs::NVSList_T list;
        list.length(2);
        list[0].name = CORBA::string_dup("username");
        list[0].value = CORBA::string_dup(user);
        list[1].name = CORBA::string_dup("notepad");
        list[1].value = CORBA::string_dup(notepad);
        return list;
    }
    std::vector<std::string> unacknowledged() {
        EventList_T_var list;
        EventIterator_I_var rest;
        manager_->getAllEMSAndMEUnacknowledgedActiveAlarms({}, {}, 10, list.out(), rest.out());
        return causesOf(list.in());
    }
    alarms::Entry entry(const std::string& cause) {
        return (*alarms_)->state()->find(
            alarms::identityOf(alarmOf({{"ManagedElement", "A"}}, cause)));
    }
};

TEST_F(Acknowledgement, ChangesTheListAndReturnsThoseThatFailed) {
    alarms_->report(alarmOf({{"ManagedElement", "A"}}, "LOS"));
    alarms_->report(alarmOf({{"ManagedElement", "A"}}, "AIS"));
    notifications::AlarmAndTCAIDList_T_var failed;
    manager_->acknowledgeAlarms(ids({"unknown", "LOS", "another"}), info("ann", "seen\n"),
                                failed.out());
    EXPECT_THAT(causesIn(failed.in()), ElementsAre("unknown", "another"));
    EXPECT_THAT(unacknowledged(), ElementsAre("AIS"));
    EXPECT_THAT(all(), ElementsAre("AIS", "LOS"));  // acknowledging is LOS's last event
    const alarms::Entry los = entry("LOS");
    EXPECT_THAT(los->acknowledgedBy, testing::StartsWith("ann ("));
    EXPECT_EQ(los->notepad, "seen\\n");
}

TEST_F(Acknowledgement, CanBeTakenBack) {
    alarms_->report(alarmOf({{"ManagedElement", "A"}}, "LOS"));
    notifications::AlarmAndTCAIDList_T_var failed;
    manager_->acknowledgeAlarms(ids({"LOS"}), {}, failed.out());
    EXPECT_THAT(unacknowledged(), IsEmpty());
    manager_->unacknowledgeAlarms(ids({"LOS"}), {}, failed.out());
    EXPECT_EQ(failed->length(), 0u);
    EXPECT_THAT(unacknowledged(), ElementsAre("LOS"));
}

TEST_F(Acknowledgement, OfAnAcknowledgedAlarmSucceedsAndChangesNothing) {
    alarms_->report(alarmOf({{"ManagedElement", "A"}}, "LOS"));
    notifications::AlarmAndTCAIDList_T_var failed;
    manager_->acknowledgeAlarms(ids({"LOS"}), {}, failed.out());
    const alarms::Position before = (*alarms_)->counts().applied;
    manager_->acknowledgeAlarms(ids({"LOS", "LOS"}), {}, failed.out());
    EXPECT_EQ(failed->length(), 0u);
    EXPECT_EQ((*alarms_)->counts().applied, before);
}

TEST_F(Acknowledgement, OfManyUnknownAlarmsWritesNothing) {
    const alarms::Position before = (*alarms_)->counts().applied;
    notifications::AlarmAndTCAIDList_T many;
    many.length(400);
    const notifications::AlarmAndTCAIDList_T one = ids({"LOS"});
    for (CORBA::ULong i = 0; i < many.length(); ++i)
        many[i] = one[0];
    notifications::AlarmAndTCAIDList_T_var failed;
    manager_->acknowledgeAlarms(many, {}, failed.out());
    EXPECT_EQ(failed->length(), many.length());
    EXPECT_EQ((*alarms_)->counts().applied, before);
}

TEST_F(Acknowledgement, OfAThresholdCrossingAlertFails) {
    notifications::AlarmAndTCAIDList_T list;
    list.length(1);
    notifications::TCAId_T id;
    id.objectName = nameOf({{"ManagedElement", "A"}});
    list[0].tcaId(id);
    notifications::AlarmAndTCAIDList_T_var failed;
    manager_->acknowledgeAlarms(list, {}, failed.out());
    EXPECT_THAT(causesIn(failed.in()), ElementsAre("TCA"));
}

class ElementAlarms : public ManagedElementTest {
  protected:
    std::vector<std::string> of(const NamingAttributes_T& element) {
        EventList_T_var list;
        EventIterator_I_var rest;
        manager_->getAllActiveAlarms(element, {}, {}, 10, list.out(), rest.out());
        return causesOf(list.in());
    }

    SharedAlarms alarms_;
};

TEST_F(ElementAlarms, AreThoseOfTheElementAndTheObjectsInIt) {
    alarms_.report(alarmOf({{"ManagedElement", "A"}}, "DOOR"));
    alarms_.report(alarmOf({{"ManagedElement", "A"}, {"PTP", "p1"}}, "LOS"));
    alarms_.report(alarmOf({{"ManagedElement", "B"}}, "FAN"));
    alarms_.report(alarmOf({}, "DISK"));
    EXPECT_THAT(of(nameOf({{"ManagedElement", "A"}})), ElementsAre("DOOR", "LOS"));
    EXPECT_THAT(of(nameOf({{"ManagedElement", "B"}})), ElementsAre("FAN"));
}

TEST_F(ElementAlarms, AreRefusedForWhatIsNoElement) {
    expectRefusal(globaldefs::EXCPT_ENTITY_NOT_FOUND, "ManagedElement=C", [&] {
        of(nameOf({{"ManagedElement", "C"}}));
    });
    expectRefusal(globaldefs::EXCPT_INVALID_INPUT, "PTP=p1", [&] {
        of(nameOf({{"ManagedElement", "A"}, {"PTP", "p1"}}));
    });
}

TEST_F(ElementAlarms, AreSelectedByTheirAcknowledgement) {
    alarms_.report(alarmOf({{"ManagedElement", "A"}}, "DOOR"));
    alarms_.report(alarmOf({{"ManagedElement", "A"}}, "LOS"));
    alarms_->submit({alarms::Acknowledge{
        alarms::identityOf(alarmOf({{"ManagedElement", "A"}}, "DOOR")), true, "ann", ""}});
    EventList_T_var list;
    EventIterator_I_var rest;
    manager_->getAllUnacknowledgedActiveAlarms(nameOf({{"ManagedElement", "A"}}), {}, {}, 10,
                                               list.out(), rest.out());
    EXPECT_THAT(causesOf(list.in()), ElementsAre("LOS"));
}

}  // namespace
}  // namespace kelp::test
