package nms;

import org.omg.CosNotification.EventType;
import org.omg.CosNotification.StructuredEvent;
import org.omg.CosNotifyComm.StructuredPushConsumerPOA;

// [consumer]
/** Receives the events. It returns soon, because the EMS sends the next event when this one is answered. */
final class Consumer extends StructuredPushConsumerPOA {
    private final AlarmList alarms;
    private final News news;

    Consumer(AlarmList alarms, News news) {
        this.alarms = alarms;
        this.news = news;
    }

    @Override
    public void push_structured_event(StructuredEvent event) {
        news.heard();
        boolean isAlarm = event.header.fixed_header.event_type.type_name.equals("NT_ALARM");
        if (isAlarm && alarms.event(Alarm.of(event)))
            news.changed();
    }

    @Override
    public void disconnect_structured_push_consumer() {
        news.put("the EMS has dropped the consumer");
    }

    @Override
    public void offer_change(EventType[] added, EventType[] removed) {}
}
// [end]
