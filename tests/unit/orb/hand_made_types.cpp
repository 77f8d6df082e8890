#include "hand_made_types.h"

namespace kelp::test {

void TypeWriter::align(std::size_t size) {
    const std::size_t origin = opened_.empty() ? 0 : opened_.back();
    while ((bytes_.size() - origin) % size != 0)
        bytes_ += '\0';
}

TypeWriter& TypeWriter::octet(unsigned value) {
    bytes_ += static_cast<char>(value);
    return *this;
}

TypeWriter& TypeWriter::number(std::uint64_t value, std::size_t size) {
    align(size);
    for (std::size_t i = 0; i < size; ++i)
        octet(static_cast<unsigned>(value >> 8 * (littleEndian_ ? i : size - 1 - i) & 0xff));
    return *this;
}

TypeWriter& TypeWriter::text(const std::string& text) {
    return unsignedLong(static_cast<std::uint32_t>(text.size() + 1)).raw(text).octet(0);
}

TypeWriter& TypeWriter::raw(const std::string& bytes) {
    bytes_ += bytes;
    return *this;
}

std::size_t TypeWriter::kind(std::uint32_t kind) {
    unsignedLong(kind);
    return bytes_.size() - 4;
}

TypeWriter& TypeWriter::indirection(std::size_t target) {
    kind(0xffffffff);
    return unsignedLong(static_cast<std::uint32_t>(target - bytes_.size()));
}

TypeWriter& TypeWriter::open() {
    unsignedLong(0);
    opened_.push_back(bytes_.size());
    return octet(littleEndian_ ? 1 : 0);
}

TypeWriter& TypeWriter::close() {
    const std::size_t from = opened_.back();
    opened_.pop_back();
    const std::string end = bytes_.substr(from);
    bytes_.resize(from - 4);
    return unsignedLong(static_cast<std::uint32_t>(end.size())).raw(end);
}

std::size_t TypeWriter::openNamed(std::uint32_t kind) {
    const std::size_t at = this->kind(kind);
    open().text("").text("");
    return at;
}

std::size_t TypeWriter::openStruct(std::uint32_t members) {
    const std::size_t at = openNamed(tcStruct);
    unsignedLong(members);
    return at;
}

std::size_t TypeWriter::openSequence() {
    const std::size_t at = kind(tcSequence);
    open();
    return at;
}

}  // namespace kelp::test
