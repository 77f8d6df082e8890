#pragma once

#include <nlohmann/json.hpp>

#include <memory>

#include "app/list_options.h"
#include "text/output.h"
#include "upload/record_layout.h"

namespace kelp::nms {

/// Writes records, one after the other, in one of the formats.
class RecordWriter {
  public:
    virtual ~RecordWriter() = default;
    /// Throws CannotWrite, as finish() does.
    virtual void write(const nlohmann::ordered_json& record) = 0;
    /// There are no more: writes what was held back, the heading too when there was no record.
    virtual void finish() {}
};

/// `output` is borrowed. A table is laid out for a terminal of so many columns, which no line
/// exceeds; 0 for what is none: then nothing is cut.
std::unique_ptr<RecordWriter> recordWriter(Format format, const RecordLayout& layout,
                                           Output& output, unsigned terminalColumns);

}  // namespace kelp::nms
