#include "app/report.h"

#include <fmt/core.h>
#include <kelp/util/json_text.h>
#include <kelp/util/trace_log.h>
#include <unistd.h>

#include <chrono>
#include <iostream>
#include <utility>

#include "text/clock_text.h"
#include "text/terminal.h"

namespace kelp::nms {

namespace {

using Json = nlohmann::ordered_json;

std::string shown(const std::string& text) {
    return util::escaped(text);
}

/// Convert any of the standard's sequences of name and text.
template <class List>
Json pairs(const List& list) {
    Json all = Json::array();
    for (CORBA::ULong i = 0; i < list.length(); ++i)
        all.push_back(
            {{"name", std::string(list[i].name.in())}, {"value", std::string(list[i].value.in())}});
    return all;
}

template <class List>
std::string inWords(const List& list) {
    std::string all;
    for (CORBA::ULong i = 0; i < list.length(); ++i)
        all += fmt::format("{}{}={}", i == 0 ? "" : ", ", shown(list[i].name.in()),
                           shown(list[i].value.in()));
    return all;
}

std::string timeNow() {
    return timestamp(std::chrono::system_clock::now());
}

}  // namespace

void Report::write(const Json& json) {
    // replace invalid UTF-8 in a text, so that the rest of the line is still written
    line(util::jsonText(json));
}

void Report::line(const std::string& text) {
    const util::MutexLock lock(mutex_);
    std::cout << text << std::endl;
}

void Report::factory(const FoundFactory& found, const std::string& version) {
    if (json_)
        return write(Json{{"path", found.path}, {"address", found.address}, {"version", version}});
    line(fmt::format("session factory  {}",
                     found.path.empty() ? "(by reference)" : shown(found.path)));
    line(fmt::format("address          {}", shown(found.address)));
    line(fmt::format("version          {}", shown(version)));
}

void Report::managers(const std::vector<std::string>& names) {
    if (json_)
        return write(Json{{"managers", names}});
    for (const std::string& name : names)
        line(shown(name));
}

void Report::pinged(unsigned number, double milliseconds) {
    if (json_)
        return write(Json{{"ping", number}, {"milliseconds", milliseconds}});
    line(fmt::format("ping {}: answered after {:.2f} ms", number, milliseconds));
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
    line(fmt::format("{:<16} {}", "name", inWords(ems.name)));
    for (const auto& [name, text] : texts)
        line(fmt::format("{:<16} {}", name, shown(text)));
    line(fmt::format("{:<16} {}", "additionalInfo", inWords(ems.additionalInfo)));
    for (CORBA::ULong i = 0; capabilities != nullptr && i < capabilities->length(); ++i)
        line(fmt::format("{:<12} {}", shown((*capabilities)[i].value.in()),
                         shown((*capabilities)[i].name.in())));
}

void Report::event(const std::string& name,
                   const std::vector<std::pair<std::string, std::string>>& details) {
    if (json_) {
        Json json{{"time", timeNow()}, {"event", name}};
        for (const auto& [key, value] : details)
            json[key] = value;
        return write(json);
    }
    std::string text = fmt::format("{}  {}", timeNow(), name);
    for (const auto& [key, value] : details)
        text += fmt::format("  {} {}", key, shown(value));
    line(text);
}

void Report::step(const std::string& text) {
    if (!verbose_)
        return;
    const util::MutexLock lock(mutex_);
    std::cerr << "kelpnms: " << shown(text) << std::endl;
}

void Report::error(const std::string& text) {
    std::cerr << (mayBeColoured(STDERR_FILENO) ? "\033[31mkelpnms:\033[0m " : "kelpnms: ")
              << shown(text) << std::endl;
}

}  // namespace kelp::nms
