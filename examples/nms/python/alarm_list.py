"""The active alarms as an NMS knows them, kept from a list that it reads and from events that it receives."""

import threading

CLEARED = "PS_CLEARED"


def identity(alarm):
    """What makes two events states of the same alarm."""
    return (tuple(alarm["objectName"]), alarm["layerRate"], alarm["probableCause"], alarm["probableCauseQualifier"])


class AlarmList:
    """Make a new one for each subscription. Any thread may use it.

    An alarm is a dictionary of the event's fields; "id" is its notificationId as a number.
    """

    def __init__(self):
        self._lock = threading.Lock()
        self._alarms = {}
        self._newest = 0         # the highest id that the alarms reflect
        self._at_begin = 0       # the same when begin() was called
        self._since_begin = None  # events since begin(), in their order; None while no list is being read

    # [begin]
    def begin(self):
        """Call it before the list is requested."""
        with self._lock:
            self._at_begin = self._newest
            self._since_begin = []
    # [end]

    # [event]
    def event(self, alarm):
        """Take an event. Return False for one that changes nothing."""
        with self._lock:
            if self._since_begin is not None:
                self._since_begin.append(alarm)
            return self._apply(alarm)

    def _apply(self, alarm):
        if alarm["id"] <= self._newest:
            return False  # sent again, or older than the list that was read
        self._newest = alarm["id"]
        if not alarm["isClearable"]:
            return False  # it is never in the list, because nothing will ever clear it
        if alarm["perceivedSeverity"] == CLEARED:
            return self._alarms.pop(identity(alarm), None) is not None
        self._alarms[identity(alarm)] = alarm
        return True
    # [end]

    # [finish]
    def finish(self, listed):
        """Replace the alarms by a complete list, and apply the events that are newer than it."""
        with self._lock:
            self._alarms = {identity(alarm): alarm for alarm in listed}
            self._newest = max([self._at_begin] + [alarm["id"] for alarm in listed])
            for alarm in self._since_begin or []:
                self._apply(alarm)
            self._since_begin = None
    # [end]

    def alarms(self):
        """Return the alarms in the order of their ids."""
        with self._lock:
            return sorted(self._alarms.values(), key=lambda alarm: alarm["id"])
