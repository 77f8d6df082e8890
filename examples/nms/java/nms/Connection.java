package nms;

import common.Common_IHolder;
import emsMgr.EMSMgr_I;
import emsMgr.EMSMgr_IHelper;
import emsSession.EmsSession_I;
import emsSession.EmsSession_IHolder;
import emsSessionFactory.EmsSessionFactory_I;
import emsSessionFactory.EmsSessionFactory_IHelper;
import globaldefs.ProcessingFailureException;
import java.io.IOException;
import java.nio.file.Files;
import java.util.ArrayDeque;
import java.util.ArrayList;
import java.util.Deque;
import java.util.List;
import java.util.concurrent.TimeUnit;
import nmsSession.NmsSession_IHelper;
import notifications.EventIterator_I;
import notifications.EventIterator_IHolder;
import notifications.EventList_THolder;
import notifications.PerceivedSeverity_T;
import org.omg.CORBA.IntHolder;
import org.omg.CORBA.ORB;
import org.omg.CORBA.SystemException;
import org.omg.CORBA.UserException;
import org.omg.CosNotification.EventType;
import org.omg.CosNotification.StructuredEvent;
import org.omg.CosNotifyChannelAdmin.ClientType;
import org.omg.CosNotifyChannelAdmin.EventChannel;
import org.omg.CosNotifyChannelAdmin.EventChannelHolder;
import org.omg.CosNotifyChannelAdmin.ProxySupplier;
import org.omg.CosNotifyChannelAdmin.StructuredProxyPushSupplier;
import org.omg.CosNotifyChannelAdmin.StructuredProxyPushSupplierHelper;
import org.omg.CosNotifyComm.StructuredPushConsumerHelper;
import org.omg.CosNotifyFilter.ConstraintExp;
import org.omg.CosNotifyFilter.Filter;
import org.omg.PortableServer.POA;
import org.omg.PortableServer.Servant;

/** One log-in. Whatever happens, close() releases what the EMS holds for it. */
final class Connection implements AutoCloseable {
    private static final EventType[] TYPES =
        {new EventType("tmf_mtnm", "NT_ALARM"), new EventType("tmf_mtnm", "NT_HEARTBEAT")};

    private interface Undo {
        void run() throws UserException;
    }

    private final ORB orb;
    private final POA poa;
    private final Options options;
    private final News news = new News();
    private final AlarmList alarms = new AlarmList();
    private final Deque<Undo> undo = new ArrayDeque<>();  // what close() does, the last first
    private EmsSession_I session;
    private EMSMgr_I manager;

    Connection(ORB orb, POA poa, Options options) {
        this.orb = orb;
        this.poa = poa;
        this.options = options;
    }

    @Override
    public void close() {
        while (!undo.isEmpty()) {
            try {
                undo.pop().run();
            } catch (SystemException | UserException gone) {
                // the EMS is gone, or has ended it before
            }
        }
    }

    private org.omg.CORBA.Object activate(Servant servant) throws UserException {
        byte[] id = poa.activate_object(servant);
        undo.push(() -> poa.deactivate_object(id));
        return poa.id_to_reference(id);
    }

    // [log-in]
    void logIn() throws UserException, IOException {
        String password = Files.readAllLines(options.passwordFile()).get(0);
        EmsSessionFactory_I factory = EmsSessionFactory_IHelper.narrow(orb.string_to_object(options.factory()));
        EmsSession_IHolder made = new EmsSession_IHolder();
        factory.getEmsSession(options.user(), password, NmsSession_IHelper.narrow(activate(new Session(news))), made);
        session = made.value;
        undo.push(session::endSession);
        Common_IHolder any = new Common_IHolder();
        session.getManager("EMS", any);
        manager = EMSMgr_IHelper.narrow(any.value);
    }
    // [end]

    // [subscribe]
    void subscribe() throws UserException {
        EventChannelHolder holder = new EventChannelHolder();
        session.getEventChannel(holder);
        EventChannel channel = holder.value;
        Filter wanted = channel.default_filter_factory().create_filter("EXTENDED_TCL");
        undo.push(wanted::destroy);
        wanted.add_constraints(new ConstraintExp[] {new ConstraintExp(TYPES, "TRUE")});
        ProxySupplier any = channel.default_consumer_admin().obtain_notification_push_supplier(
            ClientType.STRUCTURED_EVENT, new IntHolder());
        StructuredProxyPushSupplier proxy = StructuredProxyPushSupplierHelper.narrow(any);
        undo.push(proxy::disconnect_structured_push_supplier);
        proxy.add_filter(wanted);
        proxy.connect_structured_push_consumer(
            StructuredPushConsumerHelper.narrow(activate(new Consumer(alarms, news))));
    }
    // [end]

    // [read]
    /** Read the whole list, and merge it with the events that arrive meanwhile. */
    void read() throws UserException {
        alarms.begin();
        List<Alarm> listed = new ArrayList<>();
        EventList_THolder batch = new EventList_THolder();
        EventIterator_IHolder rest = new EventIterator_IHolder();
        manager.getAllEMSAndMEActiveAlarms(new String[0], new PerceivedSeverity_T[0], options.page(), batch, rest);
        boolean more = rest.value != null;
        append(batch.value, listed);
        try {
            while (more) {
                more = rest.value.next_n(options.page(), batch);
                append(batch.value, listed);
            }
        } finally {
            if (more)
                release(rest.value);  // not read to its end: the EMS would keep it
        }
        alarms.finish(listed);
        news.put("changed");
        System.err.println("in step after reading " + listed.size() + " alarms");
    }
    // [end]

    private static void append(StructuredEvent[] events, List<Alarm> listed) {
        for (StructuredEvent event : events)
            listed.add(Alarm.of(event));
    }

    private static void release(EventIterator_I rest) {
        try {
            rest.destroy();
        } catch (SystemException | ProcessingFailureException gone) {
            // the EMS is gone, or has closed it
        }
    }

    // [follow]
    /** Follow the events until the NMS has to start over. */
    void follow() throws UserException, InterruptedException, OutOfStep {
        long interval = TimeUnit.SECONDS.toNanos(options.ping());
        long nextPing = System.nanoTime() + interval;
        while (true) {
            String what = news.take(Math.max(0, nextPing - System.nanoTime()));
            if ("read".equals(what))
                read();
            else if ("changed".equals(what))
                show();
            else if (what != null)
                throw new OutOfStep(what);
            if (System.nanoTime() < nextPing)
                continue;
            session.ping();  // throws when the session or the connection is gone
            if (options.silence() > 0 && news.silence() > options.silence())
                throw new OutOfStep("neither an event nor a heartbeat for " + news.silence() + " s");
            nextPing = System.nanoTime() + interval;
        }
    }
    // [end]

    private void show() throws InterruptedException {
        List<String> shown = alarms.alarms().stream().map(Alarm::json).toList();
        System.out.println("{\"alarms\": " + shown + "}");
        Thread.sleep(100);  // at most ten lists a second
    }
}
