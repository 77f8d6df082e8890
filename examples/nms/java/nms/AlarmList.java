package nms;

import java.util.ArrayList;
import java.util.Comparator;
import java.util.HashMap;
import java.util.List;
import java.util.Map;

/**
 * The active alarms as an NMS knows them, kept from a list that it reads and from events that it receives. Make a new one
 * for each subscription. Any thread may use it.
 */
final class AlarmList {
    private Map<Alarm.Identity, Alarm> alarms = new HashMap<>();
    private long newest = 0;         // the highest id that the alarms reflect
    private long atBegin = 0;        // the same when begin() was called
    private List<Alarm> sinceBegin;  // events since begin(), in their order; null while no list is being read

    // [merge]
    /** Call it before the list is requested. */
    synchronized void begin() {
        atBegin = newest;
        sinceBegin = new ArrayList<>();
    }

    /** Take an event. Return false for one that changes nothing. */
    synchronized boolean event(Alarm alarm) {
        if (sinceBegin != null)
            sinceBegin.add(alarm);
        return apply(alarm);
    }

    /** Replace the alarms by a complete list, and apply the events that are newer than it. */
    synchronized void finish(List<Alarm> listed) {
        alarms = new HashMap<>();
        newest = atBegin;
        for (Alarm alarm : listed) {
            alarms.put(alarm.identity(), alarm);
            newest = Math.max(newest, alarm.id());
        }
        List<Alarm> meanwhile = sinceBegin == null ? List.of() : sinceBegin;
        sinceBegin = null;
        meanwhile.forEach(this::apply);
    }

    private boolean apply(Alarm alarm) {
        if (alarm.id() <= newest)
            return false;  // sent again, or older than the list that was read
        newest = alarm.id();
        if (!alarm.isClearable())
            return false;  // it is never in the list, because nothing will ever clear it
        if (alarm.isClear())
            return alarms.remove(alarm.identity()) != null;
        alarms.put(alarm.identity(), alarm);
        return true;
    }
    // [end]

    /** Return the alarms in the order of their ids. */
    synchronized List<Alarm> alarms() {
        return alarms.values().stream().sorted(Comparator.comparingLong(Alarm::id)).toList();
    }
}
