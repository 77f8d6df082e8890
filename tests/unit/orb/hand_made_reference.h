#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kelp::test {

/// Writes CDR as an ORB does, in either byte order. Used for the parts of references.
class CdrWriter {
  public:
    enum class Order { Big, Little };

    /// Begins with the byte order, as every encapsulation does.
    explicit CdrWriter(Order order = Order::Little);

    CdrWriter& octet(unsigned value);
    CdrWriter& unsignedShort(unsigned value);
    CdrWriter& unsignedLong(std::uint32_t value);
    CdrWriter& string(const std::string& text);
    CdrWriter& octets(const std::string& bytes);

    const std::string& bytes() const { return bytes_; }

  private:
    CdrWriter& number(std::uint32_t value, std::size_t size);

    Order order_;
    std::string bytes_;
};

struct TaggedBytes {
    std::uint32_t tag;
    std::string bytes;
};

struct Iiop {
    unsigned minor = 2;
    std::string host = "192.0.2.7";
    unsigned port = 4800;
    std::string key = "key";
    std::vector<TaggedBytes> components;
    CdrWriter::Order order = CdrWriter::Order::Little;
    unsigned major = 1;
};

/// Return the content of an IIOP profile.
std::string iiopProfile(const Iiop& iiop);
TaggedBytes alternateAddress(const std::string& host, unsigned port);
TaggedBytes sslComponent(unsigned port);
/// Return a profile that consists of a sequence of components.
std::string multipleComponents(const std::vector<TaggedBytes>& components);

/// Return the content of a stringified reference.
std::string referenceBytes(const std::vector<TaggedBytes>& profiles,
                           const std::string& typeId = "IDL:T:1.0",
                           CdrWriter::Order order = CdrWriter::Order::Little);
std::string hexReference(const std::string& bytes);
/// Return a stringified reference with one IIOP profile.
std::string ior(const Iiop& iiop);

}  // namespace kelp::test
