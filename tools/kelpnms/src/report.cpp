#include "report.h"

#include "any_json.h"

#include <kelp/util/trace_log.h>

#include <fmt/chrono.h>
#include <fmt/core.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <utility>

namespace kelp::nms {

namespace {

using Json = nlohmann::ordered_json;

std::string shown(const std::string& text) {
    return util::escaped(text);
}

/// Any of the standard's sequences of name and text.
template <class List>
Json pairs(const List& list) {
    Json all = Json::array();
    for (CORBA::ULong i = 0; i < list.length(); ++i)
        all.push_back({{"name", std::string(list[i].name.in())}, {"value", std::string(list[i].value.in())}});
    return all;
}

template <class List>
std::string inWords(const List& list) {
    std::string all;
    for (CORBA::ULong i = 0; i < list.length(); ++i)
        all +=
            fmt::format("{}{}={}", i == 0 ? "" : ", ", shown(list[i].name.in()), shown(list[i].value.in()));
    return all;
}

/// The time of day of this host, with milliseconds and the offset from UTC.
std::string timeNow() {
    const auto now = std::chrono::system_clock::now();
    const auto seconds = std::chrono::floor<std::chrono::seconds>(now);
    const auto fraction = std::chrono::duration_cast<std::chrono::milliseconds>(now - seconds).count();
    const std::tm local = fmt::localtime(std::chrono::system_clock::to_time_t(now));
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}{:%z}", local, fraction, local);
}

}  // namespace

void Report::write(const Json& json) {
    // a text that is no UTF-8 must not keep the rest from being told
    write(json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

void Report::write(const std::string& line) {
    const std::lock_guard lock(mutex_);
    std::cout << line << std::endl;
}

void Report::factory(const FoundFactory& found, const std::string& version) {
    if (json_)
        return write(Json{{"path", found.path}, {"address", found.address}, {"version", version}});
    write(fmt::format("session factory  {}", found.path.empty() ? "(by reference)" : shown(found.path)));
    write(fmt::format("address          {}", shown(found.address)));
    write(fmt::format("version          {}", shown(version)));
}

void Report::managers(const std::vector<std::string>& names) {
    if (json_)
        return write(Json{{"managers", names}});
    for (const std::string& name : names)
        write(shown(name));
}

void Report::pinged(unsigned number, double milliseconds) {
    if (json_)
        return write(Json{{"ping", number}, {"milliseconds", milliseconds}});
    write(fmt::format("ping {}: answered after {:.2f} ms", number, milliseconds));
}

void Report::ems(const emsMgr::EMS_T& ems, const common::CapabilityList_T* capabilities) {
    const std::pair<const char*, std::string> texts[] = {
        {"userLabel", ems.userLabel.in()}, {"nativeEMSName", ems.nativeEMSName.in()},
        {"owner", ems.owner.in()},         {"emsVersion", ems.emsVersion.in()},
        {"type", ems.type.in()},
    };
    if (json_) {
        Json json{{"name", pairs(ems.name)}};
        for (const auto& [name, text] : texts)
            json[name] = text;
        json["additionalInfo"] = pairs(ems.additionalInfo);
        if (capabilities != nullptr)
            json["capabilities"] = pairs(*capabilities);
        return write(json);
    }
    write(fmt::format("{:<16} {}", "name", inWords(ems.name)));
    for (const auto& [name, text] : texts)
        write(fmt::format("{:<16} {}", name, shown(text)));
    write(fmt::format("{:<16} {}", "additionalInfo", inWords(ems.additionalInfo)));
    for (CORBA::ULong i = 0; capabilities != nullptr && i < capabilities->length(); ++i)
        write(fmt::format("{:<12} {}", shown((*capabilities)[i].value.in()),
                          shown((*capabilities)[i].name.in())));
}

void Report::event(const std::string& name, const std::vector<std::pair<std::string, std::string>>& details) {
    if (json_) {
        Json json{{"time", timeNow()}, {"event", name}};
        for (const auto& [key, text] : details)
            json[key] = text;
        return write(json);
    }
    std::string line = fmt::format("{}  {}", timeNow(), name);
    for (const auto& [key, text] : details)
        line += fmt::format("  {} {}", key, shown(text));
    write(line);
}

void Report::notification(const CosNotification::StructuredEvent& event) {
    const char* type = event.header.fixed_header.event_type.type_name.in();
    Json fields = Json::object();
    for (CORBA::ULong i = 0; i < event.filterable_data.length(); ++i)
        fields[event.filterable_data[i].name.in()] = asJson(event.filterable_data[i].value);
    if (json_)
        return write(Json{{"time", timeNow()}, {"type", type}, {"fields", fields}});
    std::string line = fmt::format("{}  {}", timeNow(), shown(type));
    for (const auto& [name, value] : fields.items())
        line += fmt::format("  {} {}", shown(name),
                            shown(value.dump(-1, ' ', false, Json::error_handler_t::replace)));
    write(line);
}

void Report::step(const std::string& text) {
    if (!verbose_)
        return;
    const std::lock_guard lock(mutex_);
    std::cerr << "kelpnms: " << shown(text) << std::endl;
}

void Report::error(const std::string& text) {
    const bool colour = ::isatty(STDERR_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr;
    std::cerr << (colour ? "\033[31mkelpnms:\033[0m " : "kelpnms: ") << shown(text) << std::endl;
}

}  // namespace kelp::nms
