#include <kelp/traps/receiver.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_limit.h>
#include <poll.h>
#include <sys/eventfd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

#include "receiving/alarm_submitter.h"
#include "receiving/counts.h"
#include "receiving/trap_queue.h"
#include "receiving/trap_socket.h"

namespace kelp::traps {

namespace {

constexpr const char* kSubject = "trapreceiver";
constexpr std::size_t kDatagramBytesMax = 65536;
/// Datagrams of one socket before the other sockets and the answers have their turn.
constexpr int kDatagramsInTurn = 200;

users::OssNetworks networksOf(const std::vector<std::string>& entries) {
    users::OssNetworks networks;
    std::string whyNot;
    if (!networks.parse(entries, whyNot))
        throw std::runtime_error("the sources of traps are wrong: " + whyNot);
    return networks;
}

}  // namespace

class Receiver::Threads {
  public:
    Threads(ReceiverSettings settings, Submit submit)
        : settings_(std::move(settings)),
          sources_(networksOf(settings_.sources)),
          queue_(settings_.queueMax),
          decoder_(settings_.engine, std::move(settings_.communities), settings_.users,
                   [this](const Decoder::Return& back, std::span<const std::uint8_t> octets) {
                       send(back, octets);
                   }),
          wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (!wake_.isOpen())
            throw std::system_error(errno, std::generic_category(), "eventfd");
        settings_.users.clear();
        for (const std::string& each : settings_.listen)
            sockets_.emplace_back(each);
        receiver_ = util::startThread("snmp traps", [this] { receiveAll(); });
        try {
            submitter_.emplace(settings_, queue_, counts_, std::move(submit),
                               [this](const std::vector<AlarmSubmitter::Outcome>& outcomes) {
                                   enterOutcomes(outcomes);
                               });
        } catch (...) {
            endReceiver();
            throw;
        }
    }

    ~Threads() { stop(); }

    void stop() {
        const util::MutexLock lock(stopMutex_);
        if (!receiver_.joinable())
            return;
        isStopping_ = true;
        wake();
        queue_.close();
        submitter_.reset();  // waits until everything in the queue is submitted
        endReceiver();
    }

    std::vector<std::uint16_t> ports() const {
        std::vector<std::uint16_t> ports;
        for (const TrapSocket& each : sockets_)
            ports.push_back(each.port());
        return ports;
    }

    Counts& counts() { return counts_; }

  private:
    void endReceiver() {
        isStopping_ = true;
        isOver_ = true;
        wake();
        receiver_.join();
    }

    void wake() {
        const std::uint64_t one = 1;
        static_cast<void>(!::write(wake_.get(), &one, sizeof one));
    }

    /// The thread of the sockets.
    void receiveAll() {
        std::vector<std::uint8_t> buffer(kDatagramBytesMax);
        std::vector<pollfd> polled(sockets_.size() + 1);
        for (bool isLast = false; !isLast;) {
            isLast = isOver_;
            answerInforms();
            if (isLast)
                return;
            polled[0] = {wake_.get(), POLLIN, 0};
            for (std::size_t at = 0; at < sockets_.size(); ++at)
                // while the receiver stops, only answers are sent
                polled[at + 1] = {isStopping_ ? -1 : sockets_[at].descriptor(), POLLIN, 0};
            if (::poll(polled.data(), polled.size(), -1) < 0)
                continue;
            std::uint64_t ignored = 0;
            static_cast<void>(!::read(wake_.get(), &ignored, sizeof ignored));
            for (std::size_t at = 0; at < sockets_.size(); ++at) {
                if (polled[at + 1].revents != 0)
                    receiveFrom(at, buffer);
            }
        }
    }

    void receiveFrom(std::size_t socket, std::vector<std::uint8_t>& buffer) {
        for (int count = 0; count < kDatagramsInTurn && !isStopping_; ++count) {
            const std::optional<Datagram> datagram = sockets_[socket].receive(buffer);
            if (!datagram)
                return;
            ++counts_.received;
            try {
                judge(*datagram, socket);
            } catch (...) {
                refuse(*datagram, "notDecoded", util::currentExceptionText());
            }
        }
    }

    void judge(const Datagram& datagram, std::size_t socket) {
        if (!sources_.contains(datagram.from)) {
            ++counts_.wrongSource;
            refuse(datagram, "wrongSource");
            return;
        }
        const auto now = std::chrono::steady_clock::now();
        if (!perSource_.take(util::networkOf(datagram.from), now, settings_.perSource)) {
            ++counts_.tooMany;
            refuse(datagram, "tooMany");
            return;
        }
        Decoder::Result result = decoder_.decode(datagram.octets, datagram.from,
                                                 static_cast<char>(socket) + datagram.back);
        ++counts_.verdicts[static_cast<std::size_t>(result.verdict)];
        if (result.verdict == Verdict::Discovery)
            return;
        if (result.verdict != Verdict::Accepted) {
            refuse(datagram, nameOf(result.verdict), engineIdText(result.engine));
            return;
        }
        if (!queue_.push({std::move(result.trap), result.inform})) {
            decoder_.forget(result.inform);
            ++counts_.queueFull;
            refuse(datagram, "queueFull");
        }
    }

    /// Lines with the same reason are counted together, whatever the detail is.
    static void refuse(const Datagram& datagram, const std::string& reason,
                       const std::string& detail = {}) {
        util::TraceLine line;
        line.file = kSubject;
        line.function = "unknown";
        line.text = "Refused a message from " + datagram.from.text + ": " + reason +
                    (detail.empty() ? "" : " " + detail);
        util::traceLimited(
            std::move(line),
            "messages of SNMP from " + util::networkOf(datagram.from) + " refused: " + reason);
    }

    void send(const Decoder::Return& back, std::span<const std::uint8_t> octets) {
        const auto socket = static_cast<std::size_t>(static_cast<unsigned char>(back.at(0)));
        sockets_.at(socket).send(back.substr(1), octets);
    }

    /// Called by the submitter's thread: answers are made by the thread that uses net-snmp.
    void enterOutcomes(const std::vector<AlarmSubmitter::Outcome>& outcomes)
        KELP_EXCLUDES(outcomesMutex_) {
        {
            const util::MutexLock lock(outcomesMutex_);
            for (const auto& each : outcomes) {
                if (each.first != 0)
                    outcomes_.push_back(each);
            }
        }
        wake();
    }

    void answerInforms() KELP_EXCLUDES(outcomesMutex_) {
        std::vector<AlarmSubmitter::Outcome> outcomes;
        {
            const util::MutexLock lock(outcomesMutex_);
            outcomes.swap(outcomes_);
        }
        for (const auto& [inform, isStored] : outcomes) {
            if (isStored) {
                decoder_.answer(inform);
                ++counts_.acknowledged;
            } else {
                decoder_.forget(inform);
            }
        }
    }

    ReceiverSettings settings_;
    const users::OssNetworks sources_;
    Counts counts_;
    TrapQueue queue_;
    util::TokenBuckets perSource_;
    std::vector<TrapSocket> sockets_;
    Decoder decoder_;  // used by the receiver's thread only, once that runs
    util::Descriptor wake_;
    std::atomic<bool> isStopping_{false};
    std::atomic<bool> isOver_{false};
    util::Mutex outcomesMutex_{util::LockRank::Service, "Receiver::Threads::outcomesMutex_"};
    std::vector<AlarmSubmitter::Outcome> outcomes_ KELP_GUARDED_BY(outcomesMutex_);
    util::Mutex stopMutex_{util::LockRank::ServiceControl, "Receiver::Threads::stopMutex_"};
    std::thread receiver_;
    std::optional<AlarmSubmitter> submitter_;
};

Receiver::Receiver(ReceiverSettings settings, Submit submit)
    : threads_(std::make_unique<Threads>(std::move(settings), std::move(submit))) {}

Receiver::~Receiver() = default;

void Receiver::stop() {
    threads_->stop();
}

std::vector<std::uint16_t> Receiver::ports() const {
    return threads_->ports();
}

std::map<std::string, std::uint64_t> Receiver::counts() const {
    return threads_->counts().byName();
}

}  // namespace kelp::traps
