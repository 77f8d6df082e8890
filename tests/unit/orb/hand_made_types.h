#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kelp::test {

/// Writes encoded TypeCodes and values as an ORB does, or in ways that no ORB would. Positions
/// count from the beginning, so an indirection can lead anywhere.
class TypeWriter {
  public:
    explicit TypeWriter(bool littleEndian = true) : littleEndian_(littleEndian) {}

    TypeWriter& octet(unsigned value);
    TypeWriter& number(std::uint64_t value, std::size_t size);
    TypeWriter& unsignedShort(unsigned value) { return number(value, 2); }
    TypeWriter& unsignedLong(std::uint32_t value) { return number(value, 4); }
    TypeWriter& text(const std::string& text);
    TypeWriter& raw(const std::string& bytes);

    /// Write a kind. Return its position, to which indirections to the type lead.
    std::size_t kind(std::uint32_t kind);
    TypeWriter& indirection(std::size_t target);
    /// Begin an encapsulation, which close() ends.
    TypeWriter& open();
    TypeWriter& close();

    /// Write a kind, begin its encapsulation, and write an empty repository id and name. Return the
    /// kind's position.
    std::size_t openNamed(std::uint32_t kind);
    /// Begin a struct of `members` members. Their TypeCodes follow, each after text("").
    std::size_t openStruct(std::uint32_t members);
    std::size_t openSequence();
    TypeWriter& closeWith(std::uint32_t lengthOrBound) {
        return unsignedLong(lengthOrBound).close();
    }

    const std::string& bytes() const { return bytes_; }

  private:
    void align(std::size_t size);

    bool littleEndian_;
    std::string bytes_;
    std::vector<std::size_t> opened_;  ///< where the enclosing encapsulations begin
};

/// Kinds of TypeCodes as they are encoded.
enum Tc : std::uint32_t {
    tcNull = 0,
    tcVoid = 1,
    tcShort = 2,
    tcLong = 3,
    tcULong = 5,
    tcFloat = 6,
    tcDouble = 7,
    tcBoolean = 8,
    tcChar = 9,
    tcOctet = 10,
    tcAny = 11,
    tcTypeCode = 12,
    tcPrincipal = 13,
    tcReference = 14,
    tcStruct = 15,
    tcUnion = 16,
    tcEnum = 17,
    tcString = 18,
    tcSequence = 19,
    tcArray = 20,
    tcAlias = 21,
    tcException = 22,
    tcLongLong = 23,
    tcLongDouble = 25,
    tcWChar = 26,
    tcWString = 27,
    tcFixed = 28,
    tcValue = 29,
    tcValueBox = 30,
    tcNative = 31,
    tcAbstractInterface = 32,
    tcLocalInterface = 33
};

}  // namespace kelp::test
