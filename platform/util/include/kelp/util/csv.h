#pragma once

#include <kelp/util/export.h>

#include <string>
#include <string_view>

namespace kelp::util {

/// A field of comma-separated values (RFC 4180). It is quoted if it has a comma, a quotation mark
/// or a line end.
KELP_EXPORT std::string csvField(std::string_view text);

/// The text fields as one record without its line end, which is CR LF in the RFC.
template <class Fields>
std::string csvRecord(const Fields& fields) {
    std::string record;
    bool isFirst = true;
    for (const auto& field : fields) {
        if (!isFirst)
            record += ',';
        record += csvField(field);
        isFirst = false;
    }
    return record;
}

}  // namespace kelp::util
