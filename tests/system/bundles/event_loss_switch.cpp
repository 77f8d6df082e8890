// A bundle that reports event losses as an alarm source would: by the session manager's exported calls. A
// test tells it what to report through the FIFO named by KELP_TEST_EVENT_LOSS, one line a report:
//   occurred START_TIME NOTIFICATION_ID
//   cleared END_TIME

#include <kelp/agent/session_mgr.h>
#include <kelp/bundlemgr/service_object.h>

#include <ace/svc_export.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <sstream>
#include <string>
#include <thread>

namespace kelp::test {

class EventLossSwitch final : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    EventLossSwitch() : ServiceObjectBase("event_loss_switch_bundle", "event_loss_switch") {}

    int init(int, char*[]) override {
        const char* fifo = std::getenv("KELP_TEST_EVENT_LOSS");
        // open for writing too, so that a writer that leaves is no end of file
        fifo_ = fifo == nullptr ? -1 : ::open(fifo, O_RDWR | O_NONBLOCK | O_CLOEXEC);
        if (fifo_ < 0)
            return -1;
        reader_ = std::thread([this] { read(); });
        return 0;
    }

    void Shutdown() override {
        stopped_ = true;
        reader_.join();
        ::close(fifo_);
    }

    int fini() override { return 0; }

  private:
    static constexpr int kStopCheckMs = 50;

    void read() {
        std::string unread;
        while (!stopped_) {
            pollfd waiting{fifo_, POLLIN, 0};
            char buffer[512];
            if (::poll(&waiting, 1, kStopCheckMs) <= 0)
                continue;
            if (const ssize_t length = ::read(fifo_, buffer, sizeof buffer); length > 0)
                unread.append(buffer, static_cast<std::size_t>(length));
            for (std::size_t end = unread.find('\n'); end != std::string::npos; end = unread.find('\n')) {
                report(unread.substr(0, end));
                unread.erase(0, end + 1);
            }
        }
    }

    static void report(const std::string& line) {
        std::istringstream words(line);
        std::string what;
        std::string time;
        std::string notificationId;
        words >> what >> time >> notificationId;
        if (what == "occurred")
            NS_KELPCORBA::SessionMgr::Instance()->NotifyEventLossOccurred(time, notificationId);
        else if (what == "cleared")
            NS_KELPCORBA::SessionMgr::Instance()->NotifyEventLossCleared(time);
    }

    int fifo_ = -1;
    std::atomic<bool> stopped_{false};
    std::thread reader_;
};

}  // namespace kelp::test

ACE_FACTORY_NAMESPACE_DEFINE(ACE_Svc, event_loss_switch, kelp::test::EventLossSwitch)
