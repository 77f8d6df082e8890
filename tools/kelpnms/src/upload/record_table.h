#pragma once

#include <string>
#include <vector>

#include "upload/record_writer.h"

namespace kelp::nms {

/// Lays records out in columns. Their widths follow from the first records and stay; what is wider
/// later is cut on a terminal and moves what is behind it elsewhere.
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
    std::vector<std::size_t> widths_;  ///< none before the layout is known
};

}  // namespace kelp::nms
