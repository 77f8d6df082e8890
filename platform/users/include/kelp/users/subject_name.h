#pragma once

#include <kelp/util/export.h>

#include <optional>
#include <string>

namespace kelp::users {

/// Maximum length of a certificate's subject that an account can be bound to, in bytes.
inline constexpr std::size_t kSubjectBytesMax = 2048;

/// Normalise a certificate's subject in the form of RFC 4514 ("CN=nms1,O=Operator") so that
/// subjects can be compared. Attribute types are in capitals, separators have no spaces, the parts
/// of a multi-valued RDN are in alphabetical order, and only characters that require it are
/// escaped. Values keep their case. Return nothing, and the reason in `whyNot`, for a text that is
/// not in this form.
KELP_EXPORT std::optional<std::string> normalisedSubject(const std::string& text,
                                                         std::string& whyNot);

}  // namespace kelp::users
