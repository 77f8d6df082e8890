#include "files/json_values.h"

#include <kelp/inventory/layer_rate.h>
#include <kelp/util/json_text.h>
#include <kelp/util/trace_log.h>
#include <kelp/util/utf8.h>

#include <limits>

#include "names/name_rules.h"

namespace kelp::inventory {

namespace {

/// Longer than any text of a real element. Limits the size of a row, so that a batch of rows stays
/// far below the maximum size of a message.
constexpr std::size_t kTextBytesMax = 4096;
constexpr std::size_t kShownBytesMax = 60;

template <class List>
Json arrayOf(const List& list) {
    Json array = Json::array();
    for (const auto& each : list)
        array.push_back(jsonOf(each));
    return array;
}

template <class List>
std::string assignArray(const Json& value, List& list) {
    if (!value.is_array())
        return shown(value) + " is not a list";
    list.clear();
    for (const Json& each : value) {
        if (std::string problem = assign(each, list.emplace_back()); !problem.empty())
            return problem;
    }
    return "";
}

}  // namespace

std::string shown(const Json& value) {
    return util::escaped(util::jsonText(value), kShownBytesMax);
}

Json jsonOf(const std::string& text) {
    return text;
}
Json jsonOf(bool flag) {
    return flag;
}
Json jsonOf(LayerRate rate) {
    return layerRateText(rate);
}
Json jsonOf(const LayerRates& rates) {
    return arrayOf(rates);
}
Json jsonOf(const std::vector<std::string>& texts) {
    return arrayOf(texts);
}
Json jsonOf(const NameValues& values) {
    Json object = Json::object();
    for (const NameValue& each : values)
        object[each.name] = each.value;
    return object;
}
Json jsonOf(const LayeredParameterList& layers) {
    Json object = Json::object();
    for (const LayeredParameters& each : layers)
        object[layerRateText(each.layer)] = jsonOf(each.parameters);
    return object;
}

std::string assign(const Json& value, std::string& text) {
    if (!value.is_string())
        return shown(value) + " is not a text";
    text = value.get_ref<const std::string&>();
    if (text.size() > kTextBytesMax)
        return "has more than " + std::to_string(kTextBytesMax) + " bytes";
    if (!util::isUtf8(text))
        return "is not UTF-8";
    return text.find('\0') == std::string::npos ? "" : "must not contain a null character";
}

std::string assign(const Json& value, bool& flag) {
    if (!value.is_boolean())
        return shown(value) + " is neither true nor false";
    flag = value.get<bool>();
    return "";
}

std::string assign(const Json& value, LayerRate& rate) {
    std::optional<LayerRate> found;
    if (value.is_string())
        found = layerRateOf(value.get_ref<const std::string&>());
    else if (value.is_number_integer() && value.get<std::int64_t>() >= 0 &&
             value.get<std::int64_t>() <= std::numeric_limits<LayerRate>::max() &&
             isLayerRate(static_cast<int>(value.get<std::int64_t>())))
        found = static_cast<LayerRate>(value.get<std::int64_t>());
    if (!found)
        return shown(value) + " is not a layer rate";
    rate = *found;
    return "";
}

std::string assign(const Json& value, LayerRates& rates) {
    return assignArray(value, rates);
}

std::string assign(const Json& value, std::vector<std::string>& texts) {
    return assignArray(value, texts);
}

std::string assign(const Json& value, NameValues& values) {
    if (value.is_array() && value.empty()) {
        values.clear();
        return "";
    }
    if (!value.is_object())
        return shown(value) + " is not an object of names and texts";
    values.clear();
    for (const auto& [name, each] : value.items()) {
        values.push_back({name, ""});
        if (std::string problem = assign(each, values.back().value); !problem.empty())
            return problem.insert(0, name + ": ");
    }
    return "";
}

std::string assign(const Json& value, LayeredParameterList& layers) {
    layers.clear();
    if (value.is_array()) {
        LayerRates rates;
        std::string problem = assign(value, rates);
        for (const LayerRate rate : rates)
            layers.push_back({rate, {}});
        return problem;
    }
    if (!value.is_object())
        return shown(value) + " is not an object of layer rates";
    for (const auto& [name, parameters] : value.items()) {
        const std::optional<LayerRate> rate = layerRateOf(name);
        if (!rate)
            return shown(name) + " is not a layer rate";
        layers.push_back({*rate, {}});
        if (std::string problem = assign(parameters, layers.back().parameters); !problem.empty())
            return problem.insert(0, name + ": ");
    }
    return "";
}

}  // namespace kelp::inventory
