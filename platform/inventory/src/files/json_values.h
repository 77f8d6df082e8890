#pragma once

#include <kelp/inventory/model.h>
#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "names/words.h"

namespace kelp::inventory {

/// JSON whose objects keep the order of their keys.
using Json = nlohmann::ordered_json;

/// The form of a value in a cell of CSV: a text, a word (enumerator or rate), a flag, or a list. A
/// list is written as JSON; a list of layer rates only may be written as rates separated by blanks.
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

// Convert a value. Return what is wrong with it; empty: nothing. After a problem the target has an
// unspecified value.
std::string assign(const Json& value, std::string& text);
std::string assign(const Json& value, bool& flag);
std::string assign(const Json& value, LayerRate& rate);
std::string assign(const Json& value, LayerRates& rates);
std::string assign(const Json& value, NameValues& values);
std::string assign(const Json& value, LayeredParameterList& layers);
std::string assign(const Json& value, std::vector<std::string>& texts);

/// A value for a message, truncated if it is long.
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
