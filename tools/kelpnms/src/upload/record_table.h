#pragma once

#include <string>
#include <vector>

#include "upload/record_writer.h"

namespace kelp::nms {

/// Lays records out in columns. The first 100 records determine the widths. A later text that is
/// wider is cut on a terminal; elsewhere it moves the columns after it to the right.
class RecordTable final : public RecordWriter {
  public:
    RecordTable(const RecordLayout& layout, Output& output, unsigned terminalColumns);

    void write(const nlohmann::ordered_json& record) override;
    void finish() override;

  private:
    using Row = std::vector<std::string>;
    void layOut();
    std::string lineOf(const Row& row) const;

    const RecordLayout layout_;
    Output& output_;
    const std::size_t terminalColumns_;
    std::vector<Row> heldBack_;
    std::vector<std::size_t> widths_;  ///< empty before the widths are known
};

}  // namespace kelp::nms
