#include "upload/record_writer.h"

#include <kelp/util/csv.h>

#include "text/json_line.h"
#include "upload/network_json.h"
#include "upload/record_table.h"

namespace kelp::nms {

namespace {

class JsonLines final : public RecordWriter {
  public:
    explicit JsonLines(Output& output) : output_(output) {}
    void write(const nlohmann::ordered_json& record) override {
        output_.write(lineOf(record) + "\n");
    }

  private:
    Output& output_;
};

/// Writes CSV (RFC 4180) with a header line.
class CsvRows final : public RecordWriter {
  public:
    CsvRows(const RecordLayout& layout, Output& output) : layout_(layout), output_(output) {}

    void write(const nlohmann::ordered_json& record) override {
        writeHeader();
        std::vector<std::string> cells;
        for (const std::string& component : layout_.components)
            cells.push_back(componentOf(record["name"], component));
        for (const std::string& attribute : layout_.attributes)
            cells.push_back(cellOf(record, attribute));
        writeLine(cells);
    }
    void finish() override { writeHeader(); }

  private:
    void writeHeader() {
        if (std::exchange(hasHeader_, true))
            return;
        std::vector<std::string> titles = layout_.components;
        titles.insert(titles.end(), layout_.attributes.begin(), layout_.attributes.end());
        writeLine(titles);
    }
    void writeLine(const std::vector<std::string>& cells) {
        output_.write(util::csvRecord(cells) + "\r\n");
    }

    const RecordLayout layout_;
    Output& output_;
    bool hasHeader_ = false;
};

}  // namespace

std::unique_ptr<RecordWriter> recordWriter(Format format, const RecordLayout& layout,
                                           Output& output, unsigned terminalColumns) {
    switch (format) {
        case Format::Csv:
            return std::make_unique<CsvRows>(layout, output);
        case Format::Json:
            return std::make_unique<JsonLines>(output);
        case Format::Table:
            break;
    }
    return std::make_unique<RecordTable>(layout, output, terminalColumns);
}

}  // namespace kelp::nms
