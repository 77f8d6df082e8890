#pragma once

#include <kelp/orb/event_sender.h>

#include <forward_list>
#include <mutex>
#include <vector>

namespace kelp::orb {

/// The octets of one event in every form that was asked for.
class SharedEvent::Encodings {
  public:
    explicit Encodings(const CosNotification::StructuredEvent& event) : event_(event) {}

    /// Writes the event as the stream's next value. Encodes it only the first time for streams of
    /// this kind.
    void write(cdrStream& stream);

    std::size_t count() const;

  private:
    /// What the octets depend on. The ORB has one converter for each code set and GIOP version, so
    /// that the converters stand for the version too.
    struct Form {
        const void* narrow;
        const void* wide;
        bool swapped;
        std::uint32_t offset;  ///< of the first octet, modulo 8: CDR aligns at most to 8
        bool operator==(const Form&) const = default;
    };
    struct Encoding {
        Form form;
        std::vector<CORBA::Octet> octets;
    };

    const std::vector<CORBA::Octet>& octetsFor(cdrStream& stream, std::uint32_t offset);
    std::vector<CORBA::Octet> encode(cdrStream& like, std::uint32_t offset) const;

    const CosNotification::StructuredEvent& event_;
    mutable std::mutex
        mutex_;  // held while encoding: others of the kind wait rather than do it again
    std::forward_list<Encoding> made_;
};

}  // namespace kelp::orb
