#include "rows/packed_values.h"

#include <kelp/inventory/failure.h>

#include <algorithm>
#include <cstdint>

namespace kelp::inventory {

namespace {

void put(std::string& out, std::uint64_t number) {
    for (; number >= 0x80; number >>= 7)
        out += static_cast<char>(number | 0x80);
    out += static_cast<char>(number);
}

void put(std::string& out, const std::string& text) {
    put(out, text.size());
    out += text;
}

void put(std::string& out, const NameValue& pair) {
    put(out, pair.name);
    put(out, pair.value);
}

void put(std::string& out, LayerRate rate) {
    put(out, static_cast<std::uint64_t>(static_cast<std::uint16_t>(rate)));
}

void put(std::string& out, const LayeredParameters& layer) {
    put(out, layer.layer);
    put(out, layer.parameters.size());
    for (const NameValue& parameter : layer.parameters)
        put(out, parameter);
}

template <class List>
std::string packedList(const List& list) {
    std::string out;
    for (const auto& each : list)
        put(out, each);
    return out;
}

class Reader {
  public:
    explicit Reader(std::string_view bytes) : left_(bytes) {}

    bool atEnd() const { return left_.empty(); }

    std::uint64_t number() {
        std::uint64_t result = 0;
        for (unsigned shift = 0; shift < 64; shift += 7) {
            if (left_.empty())
                break;
            const auto byte = static_cast<unsigned char>(left_.front());
            left_.remove_prefix(1);
            result |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
            if (byte < 0x80)
                return result;
        }
        throw InventoryFailure("a row of the inventory is damaged");
    }
    std::string_view bytes() {
        const std::uint64_t size = number();
        if (size > left_.size())
            throw InventoryFailure("a row of the inventory is damaged");
        const std::string_view result = left_.substr(0, size);
        left_.remove_prefix(size);
        return result;
    }

    void take(std::string& text) { text = bytes(); }
    void take(NameValue& pair) {
        take(pair.name);
        take(pair.value);
    }
    void take(LayerRate& rate) { rate = static_cast<LayerRate>(number()); }
    void take(LayeredParameters& layer) {
        take(layer.layer);
        const std::uint64_t count = number();
        takeList(layer.parameters, [count](std::size_t taken) { return taken < count; });
    }
    /// Read entries while `isMore`, called with the number of entries read, returns true.
    /// Overwrites the entries in the list, so that their memory is used again.
    template <class List, class IsMore>
    void takeList(List& list, IsMore isMore) {
        std::size_t taken = 0;
        for (; isMore(taken); ++taken)
            take(taken < list.size() ? list[taken] : list.emplace_back());
        list.resize(taken);
    }

  private:
    std::string_view left_;
};

template <class List>
void unpackList(std::string_view bytes, List& list) {
    Reader in(bytes);
    in.takeList(list, [&in](std::size_t) { return !in.atEnd(); });
}

bool isIn(const LayerRates& wanted, std::uint64_t rate) {
    return std::find(wanted.begin(), wanted.end(), static_cast<LayerRate>(rate)) != wanted.end();
}

}  // namespace

std::string packed(const NameValues& values) {
    return packedList(values);
}
std::string packed(const LayerRates& rates) {
    return packedList(rates);
}
std::string packed(const LayeredParameterList& layers) {
    return packedList(layers);
}
std::string packed(const std::vector<std::string>& texts) {
    return packedList(texts);
}

void unpack(std::string_view bytes, NameValues& values) {
    unpackList(bytes, values);
}
void unpack(std::string_view bytes, LayerRates& rates) {
    unpackList(bytes, rates);
}
void unpack(std::string_view bytes, LayeredParameterList& layers) {
    unpackList(bytes, layers);
}
void unpack(std::string_view bytes, std::vector<std::string>& texts) {
    unpackList(bytes, texts);
}

bool hasLayerOf(std::string_view packedLayers, const LayerRates& wanted) {
    for (Reader in(packedLayers); !in.atEnd();) {
        if (isIn(wanted, in.number()))
            return true;
        for (std::uint64_t texts = 2 * in.number(); texts > 0; --texts)
            in.bytes();
    }
    return false;
}

bool hasRateOf(std::string_view packedRates, const LayerRates& wanted) {
    for (Reader in(packedRates); !in.atEnd();) {
        if (isIn(wanted, in.number()))
            return true;
    }
    return false;
}

}  // namespace kelp::inventory
