"""Tests of the merge. They need no ORB: python3 -m unittest alarm_list_test"""

import random
import unittest

from alarm_list import AlarmList


def alarm(number, cause, severity="PS_MAJOR", clearable=True):
    return {"id": number, "objectName": [("EMS", "E"), ("ManagedElement", "N")], "layerRate": 1,
            "probableCause": cause, "probableCauseQualifier": "", "perceivedSeverity": severity,
            "isClearable": clearable}


def clear(number, cause):
    return alarm(number, cause, "PS_CLEARED")


def shown(alarms):
    return [(each["id"], each["probableCause"]) for each in alarms.alarms()]


class AlarmListTest(unittest.TestCase):
    def setUp(self):
        self.alarms = AlarmList()
        self.alarms.begin()

    def test_an_event_during_the_read_is_applied_to_the_list(self):
        self.alarms.event(alarm(7, "LOS"))
        self.alarms.event(clear(8, "EQPT"))
        self.alarms.finish([alarm(3, "EQPT"), alarm(4, "AIS")])
        self.assertEqual(shown(self.alarms), [(4, "AIS"), (7, "LOS")])

    def test_an_event_that_the_list_has_overtaken_changes_nothing(self):
        self.alarms.event(alarm(3, "LOS"))
        self.alarms.finish([alarm(5, "AIS"), alarm(6, "LOS", "PS_MINOR")])
        self.assertFalse(self.alarms.event(clear(4, "AIS")))
        self.assertEqual(shown(self.alarms), [(5, "AIS"), (6, "LOS")])

    def test_an_alarm_that_is_not_in_the_list_goes_unless_it_is_newer(self):
        self.alarms.finish([alarm(1, "LOS"), alarm(2, "AIS")])
        self.alarms.begin()
        self.alarms.event(alarm(9, "EQPT"))
        self.alarms.finish([alarm(2, "AIS")])
        self.assertEqual(shown(self.alarms), [(2, "AIS"), (9, "EQPT")])

    def test_a_repeated_event_changes_nothing(self):
        self.alarms.finish([])
        self.assertTrue(self.alarms.event(alarm(1, "LOS")))
        self.assertTrue(self.alarms.event(clear(2, "LOS")))
        self.assertFalse(self.alarms.event(alarm(1, "LOS")))
        self.assertEqual(shown(self.alarms), [])

    def test_an_alarm_that_cannot_be_cleared_is_not_kept(self):
        self.alarms.finish([])
        self.assertFalse(self.alarms.event(alarm(1, "LOS", clearable=False)))
        self.assertEqual(shown(self.alarms), [])

    def test_every_read_at_any_time_leads_to_the_same_list(self):
        for seed in range(300):
            self.check_history(random.Random(seed), seed)

    def check_history(self, chance, seed):
        """A random history; the events arrive late and some of them twice, and the list is read now and then."""
        active, late, alarms, reading = {}, [], AlarmList(), None
        alarms.begin()
        for number in range(1, 80):
            cause = chance.choice("ABCDE")
            if cause in active and chance.random() < 0.5:
                event = clear(number, cause)
                del active[cause]
            else:
                event = active[cause] = alarm(number, cause, chance.choice(["PS_MAJOR", "PS_MINOR"]))
            late += [event] * chance.choice([1, 1, 1, 2])
            while late and chance.random() < 0.6:
                alarms.event(late.pop(0))
            if reading is None and chance.random() < 0.2:
                alarms.begin()
                reading = list(active.values())
            elif reading is not None and chance.random() < 0.3:
                alarms.finish(reading)
                reading = None
        if reading is None:
            alarms.begin()
            reading = list(active.values())
        for event in late[:3]:
            alarms.event(event)
        alarms.finish(reading)
        for event in late[3:]:
            alarms.event(event)
        expected = sorted((each["id"], each["probableCause"]) for each in active.values())
        self.assertEqual(shown(alarms), expected, f"seed {seed}")


if __name__ == "__main__":
    unittest.main()
