#!/usr/bin/env python3
"""An NMS that stays in step with the active alarms of the EMS.

    nms.py [ORB OPTION...] [OPTION...] FACTORY USER PASSWORD_FILE

FACTORY is where the session factory is, as a URL. With the path of TMF 814 in the naming service of the EMS:

    corbaname::HOST:4801#TMF_MTNM.Class/Kelp.Vendor/Kelp%5c%2fEMS.EmsInstance/3_5.Version/Kelp%5c%2fEMS.EmsSessionFactory_I

The NMS prints its list as one line of JSON whenever the list has changed, and each step on standard error. It ends
with a log-out at Ctrl-C or SIGTERM. It needs omniORBpy and the stubs of the IDL, as README.md explains.
"""

import argparse
import json
import queue
import signal
import sys
import time

import CORBA
import CosNotification
import CosNotifyChannelAdmin
import CosNotifyComm__POA
import CosNotifyFilter
import emsMgr
import emsSessionFactory
import globaldefs
import nmsSession__POA
import notifications
import omniORB

from alarm_list import AlarmList

ORB_OPTIONS = ["-ORBclientCallTimeOutPeriod", "10000"]  # in milliseconds: no call of this NMS waits for longer
TYPES = [CosNotification.EventType("tmf_mtnm", name) for name in ("NT_ALARM", "NT_HEARTBEAT")]


class OutOfStep(Exception):
    """Why the NMS has to start over."""


def report(text):
    print(text, file=sys.stderr, flush=True)


# [fields]
def plain(value):
    """An enumerator as its name, a list of names and values as pairs, and everything else as it is."""
    if isinstance(value, omniORB.EnumItem):
        return value._n
    if isinstance(value, list) and all(isinstance(each, globaldefs.NameAndStringValue_T) for each in value):
        return [(each.name, each.value) for each in value]
    return value


def fields(event):
    """The fields of an alarm that this NMS uses. Those that it does not know are passed over."""
    found = {each.name: plain(each.value.value()) for each in event.filterable_data}
    return {
        "id": int(found["notificationId"]),
        "objectName": found["objectName"],
        "layerRate": found.get("layerRate", 1),
        "probableCause": found["probableCause"],
        "probableCauseQualifier": found.get("probableCauseQualifier", ""),
        "perceivedSeverity": found["perceivedSeverity"],
        "isClearable": found.get("isClearable", True),
        "acknowledgeIndication": found.get("acknowledgeIndication", "AI_NA"),
    }
# [end]


# [session]
class Session(nmsSession__POA.NmsSession_I):
    """What the EMS calls. A new object for each log-in, so that a call for an old session does not hit the new one."""

    def __init__(self, news):
        self._news = news

    def ping(self):
        pass

    def endSession(self):
        self._news.put("the EMS has ended the session")

    def eventLossOccurred(self, startTime, notificationId):
        report(f"events are lost since {startTime}")

    def eventLossCleared(self, endTime):
        self._news.put("read")

    def alarmLossOccurred(self, startTime, notificationId):
        pass

    def _get_associatedSession(self):
        return None
# [end]


# [consumer]
class Consumer(CosNotifyComm__POA.StructuredPushConsumer):
    """Receives the events. It returns soon, because the EMS sends the next event when this one is answered."""

    def __init__(self, alarms, news):
        self._alarms = alarms
        self._news = news
        self.heard = time.monotonic()

    def push_structured_event(self, event):
        self.heard = time.monotonic()
        is_alarm = event.header.fixed_header.event_type.type_name == "NT_ALARM"
        if is_alarm and self._alarms.event(fields(event)) and self._news.empty():
            self._news.put("changed")  # news that waits is followed by a new view of the list anyway

    def disconnect_structured_push_consumer(self):
        self._news.put("the EMS has dropped the consumer")

    def offer_change(self, added, removed):
        pass
# [end]


class Connection:
    """One log-in. Use it in a with statement: whatever happens, close() releases what the EMS holds for it."""

    def __init__(self, orb, poa, options):
        self._orb, self._poa, self._options = orb, poa, options
        self._news = queue.Queue()
        self._alarms = AlarmList()
        self._consumer = Consumer(self._alarms, self._news)
        self._undo = []  # what close() does, the last first

    def __enter__(self):
        return self

    def __exit__(self, kind, error, trace):
        for undo in reversed(self._undo):
            try:
                undo()
            except (CORBA.Exception, globaldefs.ProcessingFailureException):
                pass  # the EMS is gone, or has ended it before
        return False

    def _activate(self, servant):
        key = self._poa.activate_object(servant)
        self._undo.append(lambda: self._poa.deactivate_object(key))
        return self._poa.id_to_reference(key)

    # [log-in]
    def log_in(self):
        with open(self._options.password_file, encoding="utf-8") as file:
            password = file.read().rstrip("\n")
        factory = self._orb.string_to_object(self._options.factory)._narrow(emsSessionFactory.EmsSessionFactory_I)
        self._session = factory.getEmsSession(self._options.user, password, self._activate(Session(self._news)))
        self._undo.append(self._session.endSession)
        self._manager = self._session.getManager("EMS")._narrow(emsMgr.EMSMgr_I)
    # [end]

    # [subscribe]
    def subscribe(self):
        channel = self._session.getEventChannel()
        wanted = channel._get_default_filter_factory().create_filter("EXTENDED_TCL")
        self._undo.append(wanted.destroy)
        wanted.add_constraints([CosNotifyFilter.ConstraintExp(TYPES, "TRUE")])
        proxy, _ = channel._get_default_consumer_admin().obtain_notification_push_supplier(
            CosNotifyChannelAdmin.STRUCTURED_EVENT)
        proxy = proxy._narrow(CosNotifyChannelAdmin.StructuredProxyPushSupplier)
        self._undo.append(proxy.disconnect_structured_push_supplier)
        proxy.add_filter(wanted)
        proxy.connect_structured_push_consumer(self._activate(self._consumer))
    # [end]

    # [read]
    def read(self):
        """Read the whole list, and merge it with the events that arrive meanwhile."""
        self._alarms.begin()
        events, rest = self._manager.getAllEMSAndMEActiveAlarms([], [], self._options.page)
        more = rest is not None
        try:
            while more:
                more, batch = rest.next_n(self._options.page)
                events += batch
        finally:
            if more:
                rest.destroy()  # not read to its end: the EMS would keep it
        self._alarms.finish([fields(event) for event in events])
        self._news.put("changed")
        report(f"in step after reading {len(events)} alarms")
    # [end]

    # [follow]
    def follow(self):
        """Follow the events until the NMS has to start over."""
        next_ping = time.monotonic() + self._options.ping
        while True:
            try:
                news = self._news.get(timeout=max(0.0, next_ping - time.monotonic()))
            except queue.Empty:
                self._session.ping()  # throws when the session or the connection is gone
                silent = time.monotonic() - self._consumer.heard
                if self._options.silence and silent > self._options.silence:
                    raise OutOfStep(f"neither an event nor a heartbeat for {silent:.0f} s") from None
                next_ping = time.monotonic() + self._options.ping
                continue
            if news == "read":
                self.read()
            elif news == "changed":
                self._show()
                time.sleep(0.1)  # at most ten lists a second
            else:
                raise OutOfStep(news)
    # [end]

    # [acknowledge]
    def acknowledge(self, alarms):
        """Acknowledge these alarms. Return those that the EMS could not acknowledge, because they are over."""
        ids = [notifications.AlarmOrTCAIdentifier_T(alarmId=notifications.AlarmId_T(
            [globaldefs.NameAndStringValue_T(*each) for each in alarm["objectName"]], alarm["layerRate"],
            alarm["probableCause"], alarm["probableCauseQualifier"])) for alarm in alarms]
        failed = self._manager.acknowledgeAlarms(ids, [globaldefs.NameAndStringValue_T("username", "operator 7")])
        return [each.alarmId for each in failed]
    # [end]

    def _show(self):
        shown = self._alarms.alarms()
        print(json.dumps({"alarms": shown}), flush=True)
        due = [each for each in shown if each["acknowledgeIndication"] == "AI_EVENT_UNACKNOWLEDGED"
               and each["probableCause"] == self._options.acknowledge]
        if due:
            report(f"acknowledged {len(due)} alarms, of which {len(self.acknowledge(due))} failed")


# [start over]
def run(orb, poa, options):
    """Stay in step for ever."""
    pause = 1.0
    while True:
        try:
            with Connection(orb, poa, options) as connection:
                connection.log_in()
                connection.subscribe()  # before the list is read: no event is missed in between
                connection.read()
                pause = 1.0
                connection.follow()
        except OutOfStep as reason:
            report(f"out of step: {reason}")
        except globaldefs.ProcessingFailureException as refused:
            report(f"out of step: {refused.exceptionType}: {refused.errorReason}")
        except (CORBA.Exception, OSError, LookupError, ValueError) as failure:
            report(f"out of step: {failure}")
        time.sleep(pause)
        pause = min(2 * pause, 30.0)
# [end]


def stop(number, frame):
    raise SystemExit(0)


def main():
    arguments = sys.argv + ORB_OPTIONS
    orb = CORBA.ORB_init(arguments, CORBA.ORB_ID)  # removes its own options from the list
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("factory")
    parser.add_argument("user")
    parser.add_argument("password_file")
    parser.add_argument("--page", type=int, default=500, help="entries requested at a time")
    parser.add_argument("--ping", type=float, default=30.0, help="seconds between two pings of the session")
    parser.add_argument("--silence", type=float, default=0.0,
                        help="seconds without any event after which the NMS starts over; 0: never. At least three "
                             "times the interval of the heartbeats")
    parser.add_argument("--acknowledge", metavar="CAUSE", default="", help="acknowledge alarms with this cause")
    options = parser.parse_args(arguments[1:])
    poa = orb.resolve_initial_references("RootPOA")
    poa._get_the_POAManager().activate()
    signal.signal(signal.SIGTERM, stop)
    signal.signal(signal.SIGINT, stop)
    run(orb, poa, options)


if __name__ == "__main__":
    main()
