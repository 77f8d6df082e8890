#pragma once

#include <optional>
#include <string>

namespace NS_CORBA {

/// Longest subject of a certificate that an account can be bound to, in bytes.
inline constexpr std::size_t kSubjectBytesMax = 2048;

/// A certificate's subject, written as RFC 4514 has it ("CN=nms1,O=Operator"), in the form that
/// subjects are compared in: attribute types in capitals, no spaces around separators, the parts of
/// a multi-valued name in alphabetical order, only those characters escaped that must be. Values
/// keep their case. None, with the reason, for a text that is no such name.
std::optional<std::string> normalisedSubject(const std::string& text, std::string& whyNot);

}  // namespace NS_CORBA
