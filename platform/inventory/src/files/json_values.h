#pragma once

#include <kelp/inventory/model.h>
#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "rows/words.h"

namespace kelp::inventory {

/// JSON whose objects keep the order of their keys.
using Json = nlohmann::ordered_json;

/// What a value looks like in a cell of CSV: a text as it is, a word (of an enumeration, a flag, a
/// rate), or a list, which stands there as JSON or, when it is of layer rates alone, as the rates
/// with blanks between them.
enum class CellForm { Text, Word, Flag, List };

template <class Value>
constexpr CellForm cellFormOf() {
    if constexpr (std::is_same_v<Value, std::string>)
        return CellForm::Text;
    else if constexpr (std::is_same_v<Value, bool>)
        return CellForm::Flag;
    else if constexpr (std::is_enum_v<Value> || std::is_same_v<Value, LayerRate>)
        return CellForm::Word;
    else
        return CellForm::List;
}

Json jsonOf(const std::string& text);
Json jsonOf(bool flag);
Json jsonOf(LayerRate rate);
Json jsonOf(const LayerRates& rates);
Json jsonOf(const NameValues& values);
Json jsonOf(const LayeredParameterList& layers);
Json jsonOf(const std::vector<std::string>& texts);
template <class Enum>
requires std::is_enum_v<Enum> Json jsonOf(Enum value) {
    return wordOf(value);
}

// Take a value over. Return what is wrong with it in a few words; empty: nothing. What is wrong
// leaves the target in no particular state.
std::string assign(const Json& value, std::string& text);
std::string assign(const Json& value, bool& flag);
std::string assign(const Json& value, LayerRate& rate);
std::string assign(const Json& value, LayerRates& rates);
std::string assign(const Json& value, NameValues& values);
std::string assign(const Json& value, LayeredParameterList& layers);
std::string assign(const Json& value, std::vector<std::string>& texts);

/// A value as a message shows it, cut when it is long.
std::string shown(const Json& value);

template <class Enum>
requires std::is_enum_v<Enum> std::string assign(const Json& value, Enum& target) {
    const auto found =
        value.is_string() ? enumOf<Enum>(value.get_ref<const std::string&>()) : std::nullopt;
    if (!found)
        return shown(value) + " is none of " + allWordsOf<Enum>();
    target = *found;
    return "";
}

}  // namespace kelp::inventory
