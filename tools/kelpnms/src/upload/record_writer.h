#pragma once

#include <nlohmann/json.hpp>

#include <memory>

#include "text/output.h"
#include "upload/record_layout.h"

namespace kelp::nms {

enum class Format { Table, Csv, Json };

/// Writes records one after the other in one of the formats.
class RecordWriter {
  public:
    virtual ~RecordWriter() = default;
    /// write() and finish() throw CannotWrite.
    virtual void write(const nlohmann::ordered_json& record) = 0;
    /// There are no more records. Write those that were held back, and the header even if there was
    /// no record.
    virtual void finish() {}
};

/// Make a writer. `output` is borrowed. `terminalColumns` is the terminal's width, which no line of
/// a table exceeds. 0 means that the output is not a terminal; then nothing is cut.
std::unique_ptr<RecordWriter> recordWriter(Format format, const RecordLayout& layout,
                                           Output& output, unsigned terminalColumns);

}  // namespace kelp::nms
