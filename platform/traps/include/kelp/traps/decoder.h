#pragma once

#include <kelp/traps/access.h>
#include <kelp/traps/trap.h>
#include <kelp/util/export.h>
#include <kelp/util/peer_address.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace kelp::traps {

/// What became of a datagram.
enum class Verdict {
    Accepted,
    Damaged,             ///< not an SNMP message, or an old one of another engine
    UnsupportedVersion,  ///< SNMPv1, or a security model other than USM
    NotATrap,            ///< another operation than a trap or an inform, or one without a trap OID
    TooManyVarBinds,     ///< more than kVarBindsMax
    WrongCommunity,
    UnknownUser,
    UnknownEngine,  ///< the user's engines do not include the sender's
    WrongSecurity,  ///< not authenticated, or not encrypted although the user has a password
    WrongDigest,    ///< wrong password, or changed on its way
    NotDecrypted,
    NotInTime,  ///< an old inform, or its sender does not know our time yet
    Discovery,  ///< a sender asks for our engine's id
};
inline constexpr std::size_t kVerdicts = 13;

/// Such as "wrongCommunity".
KELP_EXPORT const char* nameOf(Verdict verdict);

/// Turns datagrams into traps, with net-snmp. net-snmp keeps users and engines per process, so
/// there may be only one decoder at a time. One thread at a time may use it.
class KELP_EXPORT Decoder {
  public:
    /// Identifies the sender for the answer; opaque here.
    using Return = std::string;
    /// Sends an answer. Must not throw.
    using Send = std::function<void(const Return&, std::span<const std::uint8_t>)>;
    /// Identifies an inform that was not answered yet; 0 for none.
    using InformId = std::uint64_t;

    struct Result {
        Verdict verdict = Verdict::Damaged;
        Trap trap;            ///< if accepted
        InformId inform = 0;  ///< if an inform was accepted: pass it to answer() or forget()
        EngineId engine;      ///< the sender's engine; for UnknownEngine only
    };

    Decoder(const Engine& engine, std::vector<Community> communities,
            const std::vector<User>& users, Send send);
    ~Decoder();
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    /// Decode a datagram of at most 64 KiB. Sends the reports that SNMPv3 demands, such as our
    /// engine's id.
    Result decode(std::span<const std::uint8_t> datagram, const util::PeerAddress& from,
                  const Return& back);
    /// Send the response that acknowledges an inform.
    void answer(InformId inform);
    /// Never answer an inform. The sender then sends it again.
    void forget(InformId inform);
    /// Number of informs that were neither answered nor forgotten.
    std::size_t unanswered() const;

  private:
    class Session;
    std::unique_ptr<Session> session_;
};

}  // namespace kelp::traps
