package nms;

import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;

/** What the ORB's threads report to the thread that follows the alarms. */
final class News {
    private final LinkedBlockingQueue<String> waiting = new LinkedBlockingQueue<>();
    private volatile long heard = System.nanoTime();

    void put(String what) {
        waiting.add(what);
    }

    /** The alarms have changed. News that waits is followed by a new view of the list anyway. */
    void changed() {
        if (waiting.isEmpty())
            waiting.add("changed");
    }

    /** Return the next news, or null after this time. */
    String take(long nanoseconds) throws InterruptedException {
        return waiting.poll(nanoseconds, TimeUnit.NANOSECONDS);
    }

    void heard() {
        heard = System.nanoTime();
    }

    /** Seconds since an event was received. */
    long silence() {
        return TimeUnit.NANOSECONDS.toSeconds(System.nanoTime() - heard);
    }
}
