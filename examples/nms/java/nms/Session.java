package nms;

import nmsSession.NmsSession_IPOA;
import session.Session_I;

// [session]
/** What the EMS calls. A new object for each log-in, so that a call for an old session does not hit the new one. */
final class Session extends NmsSession_IPOA {
    private final News news;

    Session(News news) {
        this.news = news;
    }

    @Override
    public void ping() {}

    @Override
    public void endSession() {
        news.put("the EMS has ended the session");
    }

    @Override
    public void eventLossOccurred(String startTime, String notificationId) {
        System.err.println("events are lost since " + startTime);
    }

    @Override
    public void eventLossCleared(String endTime) {
        news.put("read");
    }

    @Override
    public void alarmLossOccurred(String startTime, String notificationId) {}

    @Override
    public Session_I associatedSession() {
        return null;
    }
}
// [end]
