#include <kelp/traps/decoder.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <utility>

#include "model/address.h"
#include "wire/message_head.h"
#include "wire/net_snmp.h"
#include "wire/net_snmp_state.h"
#include "wire/pdu_reader.h"

namespace kelp::traps {

namespace {

constexpr std::array<const char*, kVerdicts> kVerdictNames = {
    "accepted",       "damaged",     "unsupportedVersion", "notATrap",      "tooManyVarBinds",
    "wrongCommunity", "unknownUser", "unknownEngine",      "wrongSecurity", "wrongDigest",
    "notDecrypted",   "notInTime",   "discovery"};

/// net-snmp's descriptor of the socket. It only tests whether the descriptor is in the set of
/// readable ones: datagrams reach it through our functions.
constexpr int kNoSocket = 0;
const std::array<oid, 7> kUdpDomain = {1, 3, 6, 1, 6, 1, 1};

struct FreePdu {
    void operator()(netsnmp_pdu* pdu) const { ::snmp_free_pdu(pdu); }
};
using Pdu = std::unique_ptr<netsnmp_pdu, FreePdu>;

/// The counters of USM that say why a message was refused (RFC 3414, usmStats).
const std::array<std::pair<int, Verdict>, 6> kUsmReasons = {{
    {STAT_USMSTATSUNSUPPORTEDSECLEVELS, Verdict::WrongSecurity},
    {STAT_USMSTATSNOTINTIMEWINDOWS, Verdict::NotInTime},
    {STAT_USMSTATSUNKNOWNUSERNAMES, Verdict::UnknownUser},
    {STAT_USMSTATSUNKNOWNENGINEIDS, Verdict::Discovery},
    {STAT_USMSTATSWRONGDIGESTS, Verdict::WrongDigest},
    {STAT_USMSTATSDECRYPTIONERRORS, Verdict::NotDecrypted},
}};
using UsmCounts = std::array<u_int, kUsmReasons.size()>;

UsmCounts usmCounts() {
    UsmCounts counts{};
    for (std::size_t at = 0; at < counts.size(); ++at)
        counts[at] = ::snmp_get_statistic(kUsmReasons[at].first);
    return counts;
}

}  // namespace

const char* nameOf(Verdict verdict) {
    return kVerdictNames[static_cast<std::size_t>(verdict)];
}

/// net-snmp's session, with a transport that takes a datagram from the object and gives answers to
/// its function.
class Decoder::Session {
  public:
    Session(const Engine& engine, std::vector<Community> communities,
            const std::vector<User>& users, Send send)
        : ownEngine_(engine.id),
          communities_(std::move(communities)),
          send_(std::move(send)),
          state_(engine, users) {
        for (const User& each : users)
            users_.emplace(each.name, Known{each.hasPrivacy, each.engines});
        open();
    }

    ~Session() { ::snmp_sess_close(session_); }

    Result decode(std::span<const std::uint8_t> datagram, const util::PeerAddress& from,
                  const Return& back) {
        result_ = Result();
        const std::optional<MessageHead> head = readHead(datagram);
        if (!head)
            return result_;
        result_.verdict = judge(*head);
        if (result_.verdict != Verdict::Accepted)
            return std::move(result_);
        datagram_ = datagram;
        from_ = &from;
        back_ = &back;
        isPduSeen_ = false;
        usmBefore_ = usmCounts();
        readOnce();
        if (!isPduSeen_)
            result_.verdict = usmReason().value_or(Verdict::Damaged);
        from_ = nullptr;
        back_ = nullptr;
        return std::move(result_);
    }

    void answer(InformId inform) {
        const auto found = informs_.find(inform);
        if (found == informs_.end())
            return;
        Pdu response = std::move(found->second);
        informs_.erase(found);
        response->command = SNMP_MSG_RESPONSE;
        response->errstat = SNMP_ERR_NOERROR;
        response->errindex = 0;
        // it owns the PDU if it was sent
        if (::snmp_sess_send(session_, response.get()) != 0)
            static_cast<void>(response.release());
    }

    void forget(InformId inform) { informs_.erase(inform); }
    std::size_t unanswered() const { return informs_.size(); }

  private:
    /// What is known of a user before net-snmp checks a message.
    struct Known {
        bool hasPrivacy = false;
        std::vector<EngineId> engines;
    };

    void open() {
        auto* const transport =
            static_cast<netsnmp_transport*>(std::calloc(1, sizeof(netsnmp_transport)));
        if (!transport)
            throw std::bad_alloc();
        transport->domain = kUdpDomain.data();
        transport->domain_length = static_cast<int>(kUdpDomain.size());
        transport->sock = kNoSocket;
        transport->msgMaxSize = 65507;
        transport->data = nullptr;
        transport->f_recv = receive;
        transport->f_send = sendAnswer;
        transport->f_close = [](netsnmp_transport*) { return 0; };
        theSession = this;
        netsnmp_session wanted;
        ::snmp_sess_init(&wanted);
        wanted.version = SNMP_DEFAULT_VERSION;
        wanted.isAuthoritative = SNMP_SESS_UNKNOWNAUTH;
        wanted.callback = seePdu;
        wanted.callback_magic = this;
        session_ = ::snmp_sess_add(&wanted, transport, nullptr, nullptr);
        if (!session_) {
            theSession = nullptr;
            throw std::runtime_error("net-snmp cannot open a session");
        }
    }

    /// Refuse what is certainly refused, before net-snmp computes or remembers anything.
    Verdict judge(const MessageHead& head) {
        if (head.version == MessageHead::kVersion2c)
            return Verdict::Accepted;
        if (head.version != MessageHead::kVersion3 || head.securityModel != MessageHead::kUsm)
            return Verdict::UnsupportedVersion;
        if (head.engineId.empty())
            return Verdict::Accepted;  // a discovery
        if (head.engineId == ownEngine_ && head.userName.empty())
            return Verdict::Accepted;  // a discovery of the time
        const auto user = users_.find(head.userName);
        if (user == users_.end())
            return Verdict::UnknownUser;
        const std::vector<EngineId>& engines = user->second.engines;
        if (head.engineId == ownEngine_ ||
            std::find(engines.begin(), engines.end(), head.engineId) != engines.end())
            return Verdict::Accepted;
        result_.engine = head.engineId.substr(0, 32);
        return Verdict::UnknownEngine;
    }

    void readOnce() {
        netsnmp_large_fd_set readable;
        ::netsnmp_large_fd_set_init(&readable, FD_SETSIZE);
        NETSNMP_LARGE_FD_ZERO(&readable);
        ::netsnmp_large_fd_setfd(kNoSocket, &readable);
        ::snmp_sess_read2(session_, &readable);
        ::netsnmp_large_fd_set_cleanup(&readable);
    }

    /// Why USM has refused the message; nothing if it has not.
    std::optional<Verdict> usmReason() const {
        const UsmCounts after = usmCounts();
        for (std::size_t at = 0; at < after.size(); ++at) {
            if (after[at] != usmBefore_[at])
                return kUsmReasons[at].second;
        }
        return std::nullopt;
    }

    Verdict checkSender(const netsnmp_pdu& pdu) {
        if (pdu.version == SNMP_VERSION_2c) {
            util::Secret community;
            const auto* const octets = reinterpret_cast<const char*>(pdu.community);
            for (std::size_t at = 0; at < pdu.community_len; ++at)
                community.append(octets[at]);
            return mayUseCommunity(communities_, community.text(), *from_)
                       ? Verdict::Accepted
                       : Verdict::WrongCommunity;
        }
        if (pdu.version != SNMP_VERSION_3 || !pdu.securityName)
            return Verdict::UnsupportedVersion;
        result_.trap.user.assign(pdu.securityName, pdu.securityNameLen);
        const auto user = users_.find(result_.trap.user);
        if (user == users_.end())
            return Verdict::UnknownUser;
        const int wanted =
            user->second.hasPrivacy ? SNMP_SEC_LEVEL_AUTHPRIV : SNMP_SEC_LEVEL_AUTHNOPRIV;
        return pdu.securityLevel >= wanted ? Verdict::Accepted : Verdict::WrongSecurity;
    }

    /// Called by net-snmp for a message, and also for one of SNMPv3 that it has not authenticated,
    /// of which it has not read the content.
    void see(netsnmp_pdu& pdu) {
        isPduSeen_ = true;
        result_.verdict = usmReason().value_or(Verdict::Accepted);
        if (result_.verdict == Verdict::Accepted)
            result_.verdict = checkSender(pdu);
        if (result_.verdict != Verdict::Accepted)
            return;
        result_.trap.address = commonText(*from_);
        switch (readPdu(pdu, result_.trap)) {
            case PduProblem::None:
                break;
            case PduProblem::NotATrap:
                result_.verdict = Verdict::NotATrap;
                return;
            case PduProblem::TooManyVarBinds:
                result_.verdict = Verdict::TooManyVarBinds;
                return;
        }
        if (!result_.trap.isInform)
            return;
        Pdu copy(::snmp_clone_pdu(&pdu));
        if (!copy)
            throw std::bad_alloc();
        result_.inform = ++lastInform_;
        informs_.emplace(result_.inform, std::move(copy));
    }

    // Called by net-snmp, which is written in C: no exception may leave these functions.

    static int seePdu(int operation, netsnmp_session*, int, netsnmp_pdu* pdu, void* self) {
        auto* const session = static_cast<Session*>(self);
        if (operation != NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE || !pdu || !session->from_)
            return 1;
        try {
            session->see(*pdu);
        } catch (const std::exception&) {
            session->result_ = Result();
        }
        return 1;
    }

    static int receive(netsnmp_transport*, void* buffer, int size, void** back, int* backSize) {
        const Session& session = *theSession;
        if (!session.back_ || size < 0 || session.datagram_.size() > static_cast<std::size_t>(size))
            return -1;
        std::copy(session.datagram_.begin(), session.datagram_.end(),
                  static_cast<std::uint8_t*>(buffer));
        *back = ::netsnmp_memdup(session.back_->data(), session.back_->size());
        *backSize = static_cast<int>(session.back_->size());
        return static_cast<int>(session.datagram_.size());
    }

    static int sendAnswer(netsnmp_transport*, const void* octets, int size, void** back,
                          int* backSize) {
        if (!back || !*back || !backSize || *backSize < 0 || size < 0)
            return -1;
        try {
            const Return to(static_cast<const char*>(*back), static_cast<std::size_t>(*backSize));
            theSession->send_(
                to, {static_cast<const std::uint8_t*>(octets), static_cast<std::size_t>(size)});
        } catch (const std::exception&) {
            return -1;
        }
        return size;
    }

    /// The only one, because NetSnmpState allows no other.
    static inline Session* theSession = nullptr;

    const EngineId ownEngine_;
    const std::vector<Community> communities_;
    const Send send_;
    NetSnmpState state_;
    std::map<std::string, Known> users_;
    void* session_ = nullptr;
    std::map<InformId, Pdu> informs_;
    InformId lastInform_ = 0;

    // of the datagram that is being decoded
    std::span<const std::uint8_t> datagram_;
    const util::PeerAddress* from_ = nullptr;
    const Return* back_ = nullptr;
    bool isPduSeen_ = false;
    UsmCounts usmBefore_{};
    Result result_;
};

Decoder::Decoder(const Engine& engine, std::vector<Community> communities,
                 const std::vector<User>& users, Send send)
    : session_(std::make_unique<Session>(engine, std::move(communities), users, std::move(send))) {}

Decoder::~Decoder() = default;

Decoder::Result Decoder::decode(std::span<const std::uint8_t> datagram,
                                const util::PeerAddress& from, const Return& back) {
    return session_->decode(datagram, from, back);
}

void Decoder::answer(InformId inform) {
    session_->answer(inform);
}

void Decoder::forget(InformId inform) {
    session_->forget(inform);
}

std::size_t Decoder::unanswered() const {
    return session_->unanswered();
}

}  // namespace kelp::traps
