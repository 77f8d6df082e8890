#include "records/block_codec.h"

#include <kelp/util/trace_log.h>

#include <algorithm>

#include "records/entry_rules.h"
#include "records/log_failure.h"

namespace kelp::oplog {

namespace {

constexpr unsigned kBits = 7;
constexpr unsigned char kMore = 0x80;

void addNumber(std::string& bytes, std::uint64_t number) {
    for (; number >= kMore; number >>= kBits)
        bytes += static_cast<char>(static_cast<unsigned char>(number) | kMore);
    bytes += static_cast<char>(number);
}

std::uint64_t zigzag(std::int64_t number) {
    return (static_cast<std::uint64_t>(number) << 1) ^ static_cast<std::uint64_t>(number >> 63);
}

std::int64_t unzigzag(std::uint64_t number) {
    return static_cast<std::int64_t>((number >> 1) ^ (~(number & 1) + 1));
}

class Decoder {
  public:
    explicit Decoder(std::string_view bytes) : rest_(bytes) {}

    bool atEnd() const { return rest_.empty(); }
    std::uint64_t number() {
        std::uint64_t number = 0;
        for (unsigned shift = 0; shift < 64; shift += kBits) {
            require(!rest_.empty());
            const auto byte = static_cast<unsigned char>(rest_.front());
            rest_.remove_prefix(1);
            number |= static_cast<std::uint64_t>(byte & ~kMore) << shift;
            if ((byte & kMore) == 0)
                return number;
        }
        require(false);
        return 0;
    }
    std::string_view text() {
        const std::uint64_t place = number();
        if (place > 0) {
            require(place <= texts_.size());
            return texts_[place - 1];
        }
        const std::uint64_t length = number();
        require(length <= rest_.size());
        texts_.push_back(rest_.substr(0, length));
        rest_.remove_prefix(length);
        return texts_.back();
    }
    static void require(bool isSo) {
        if (!isSo)
            throw LogFailure("a block of records is damaged", true);
    }

  private:
    std::string_view rest_;
    std::vector<std::string_view> texts_;
};

}  // namespace

void BlockEncoder::add(const RecordView& record) {
    const std::int64_t time = record.time.time_since_epoch().count();
    earliest_ = count_ == 0 ? record.time : std::min(earliest_, record.time);
    latest_ = count_ == 0 ? record.time : std::max(latest_, record.time);
    addNumber(bytes_, zigzag(time - lastTime_));
    addNumber(bytes_, record.duration && record.duration->count() >= 0
                          ? static_cast<std::uint64_t>(record.duration->count()) + 1
                          : 0);
    for (std::size_t i = 0; i < RecordView::Texts; ++i) {
        if (last_[i].place == 0 || last_[i].text != record.texts[i])
            last_[i] = held(record.texts[i], kTextFields[i].bytesMax);
        else
            addNumber(bytes_, last_[i].place);
    }
    lastTime_ = time;
    ++count_;
}

/// Append the number of the text if the block holds it already, otherwise the text itself.
BlockEncoder::Held BlockEncoder::held(std::string_view text, std::size_t bytesMax) {
    // texts in the block are escaped; a text that equals one of them does not change when it is
    // escaped again
    if (const auto known = places_.find(text); known != places_.end() && text.size() <= bytesMax) {
        addNumber(bytes_, known->second);
        return {known->first, known->second};
    }
    const auto [place, isNew] =
        places_.try_emplace(util::escaped(std::string(text), bytesMax), places_.size() + 1);
    if (!isNew) {
        addNumber(bytes_, place->second);
    } else {
        addNumber(bytes_, 0);
        addNumber(bytes_, place->first.size());
        bytes_ += place->first;
    }
    return {place->first, place->second};
}

void BlockEncoder::clear() {
    bytes_.clear();
    places_.clear();
    last_ = {};
    count_ = 0;
    lastTime_ = 0;
}

std::vector<LogEntry> decodeBlock(std::string_view bytes, std::size_t records) {
    std::vector<LogEntry> entries;
    Decoder decoder(bytes);
    std::int64_t time = 0;
    while (!decoder.atEnd()) {
        LogEntry entry;
        time = static_cast<std::int64_t>(static_cast<std::uint64_t>(time) +
                                         static_cast<std::uint64_t>(unzigzag(decoder.number())));
        entry.time = entry.until = UtcTime(std::chrono::milliseconds(time));
        if (const std::uint64_t duration = decoder.number(); duration > 0)
            entry.duration = std::chrono::microseconds(duration - 1);
        for (const TextField& field : kTextFields)
            entry.*field.text = decoder.text();
        entries.push_back(std::move(entry));
    }
    Decoder::require(entries.size() == records);
    return entries;
}

}  // namespace kelp::oplog
