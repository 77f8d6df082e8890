package nms;

import globaldefs.ProcessingFailureException;
import java.io.IOException;
import org.omg.CORBA.ORB;
import org.omg.CORBA.UserException;
import org.omg.PortableServer.POA;
import org.omg.PortableServer.POAHelper;

/**
 * An NMS that stays in step with the active alarms of the EMS. README.md explains how it is built and started. It prints
 * its list as one line of JSON whenever the list has changed, and each step on standard error. It ends with a log-out at
 * Ctrl-C or SIGTERM.
 */
final class Nms {
    private Nms() {}

    // [start over]
    /** Stay in step until this thread is interrupted. */
    private static void run(ORB orb, POA poa, Options options) throws InterruptedException {
        long pause = 1000;
        while (true) {
            try (Connection connection = new Connection(orb, poa, options)) {
                connection.logIn();
                connection.subscribe();  // before the list is read: no event is missed in between
                connection.read();
                pause = 1000;
                connection.follow();
            } catch (ProcessingFailureException refused) {
                System.err.println("out of step: " + refused.errorReason);
            } catch (OutOfStep reason) {
                System.err.println("out of step: " + reason.getMessage());
            } catch (RuntimeException | UserException | IOException failure) {
                System.err.println("out of step: " + failure);
            }
            Thread.sleep(pause);
            pause = Math.min(2 * pause, 30_000);
        }
    }
    // [end]

    /** Let this thread log out before the process ends. */
    private static void endAtSignals(Thread following) {
        Runtime.getRuntime().addShutdownHook(new Thread(() -> {
            following.interrupt();
            try {
                following.join(20_000);
            } catch (InterruptedException impatient) {
                // ends without the log-out
            }
            Runtime.getRuntime().halt(0);
        }));
    }

    public static void main(String[] arguments) throws UserException {
        Options options = Options.of(arguments);
        ORB orb = ORB.init(arguments, null);
        POA poa = POAHelper.narrow(orb.resolve_initial_references("RootPOA"));
        poa.the_POAManager().activate();
        endAtSignals(Thread.currentThread());
        try {
            run(orb, poa, options);
        } catch (InterruptedException ended) {
            // by a signal
        }
    }
}
