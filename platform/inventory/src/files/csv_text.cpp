#include "files/csv_text.h"

#include <kelp/util/csv.h>

namespace kelp::inventory {

namespace {

/// Splits a record into cells, line by line.
class RecordParser {
  public:
    explicit RecordParser(std::vector<std::string>& cells) : cells_(cells) {
        cells_.clear();
        cells_.emplace_back();
    }

    /// Returns false when the record continues in the next line.
    bool take(std::string& line) {
        std::size_t end = line.size();
        for (std::size_t i = 0; i < end && problem_.empty(); ++i) {
            // a carriage return at the end belongs to the line end, except in a quoted cell
            if (line[i] == '\r' && i + 1 == end && state_ != State::Quoted)
                break;
            take(line[i]);
        }
        if (state_ != State::Quoted || !problem_.empty())
            return true;
        cells_.back() += '\n';
        return false;
    }
    void end() {
        if (state_ == State::Quoted && problem_.empty())
            problem_ = "a cell's quotation mark is not closed";
    }
    const std::string& problem() const { return problem_; }

  private:
    enum class State { Begin, Plain, Quoted, QuoteInQuoted };

    void take(char each) {
        if (state_ == State::Quoted) {
            if (each == '"')
                state_ = State::QuoteInQuoted;
            else
                cells_.back() += each;
        } else if (each == ',') {
            cells_.emplace_back();
            state_ = State::Begin;
        } else if (each == '"') {
            takeQuote();
        } else if (state_ == State::QuoteInQuoted) {
            problem_ = "a cell continues after its closing quotation mark";
        } else {
            cells_.back() += each;
            state_ = State::Plain;
        }
    }
    void takeQuote() {
        if (state_ == State::Plain) {
            problem_ = "a quotation mark is in a cell that does not begin with one";
            return;
        }
        if (state_ == State::QuoteInQuoted)
            cells_.back() += '"';
        state_ = State::Quoted;
    }

    std::vector<std::string>& cells_;
    State state_ = State::Begin;
    std::string problem_;
};

}  // namespace

bool nextCsvRecord(LineReader& in, std::vector<std::string>& cells, std::string& problem) {
    constexpr std::size_t kLinesMax = 1000;
    RecordParser parser(cells);
    std::string line;
    std::size_t lines = 0;
    bool isTooLong = false;
    while (in.next(line)) {
        ++lines;
        isTooLong = in.isCut() || lines > kLinesMax;
        if (isTooLong || parser.take(line))
            break;
    }
    parser.end();
    problem = isTooLong ? "the record is too long" : parser.problem();
    return lines > 0;
}

std::string csvLine(const std::vector<std::string>& cells) {
    return util::csvRecord(cells) + "\r\n";
}

}  // namespace kelp::inventory
