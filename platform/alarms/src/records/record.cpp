#include <algorithm>
#include <stdexcept>

#include "kelp/alarms/change.h"
#include "kelp/alarms/enum_names.h"
#include "model/text_check.h"
#include "records/cbor.h"
#include "records/record_values.h"

namespace kelp::alarms {

namespace {

constexpr std::uint64_t kRecordVersion = 1;

constexpr const char* kKinds[] = {"creation", "deletion", "attribute value change", "state change"};

void requireNoZero(const Name& name) {
    if (hasZero(name))
        throw std::invalid_argument("an object's name must not have a character of number 0");
}

Json recordOf(const Report& report) {
    const std::string wrong = whatIsWrong(report.alarm);
    if (!wrong.empty())
        throw std::invalid_argument(wrong);
    return {{"report", recordOf(report.alarm)}};
}

Json recordOf(const Acknowledge& acknowledge) {
    requireNoZero(acknowledge.id.objectName);
    return {{"acknowledge",
             {{"id", recordOf(acknowledge.id)},
              {"isAcknowledged", acknowledge.isAcknowledged},
              {"user", acknowledge.user},
              {"notepad", acknowledge.notepad}}}};
}

Json recordOf(const Settle& settle) {
    requireNoZero(settle.id.objectName);
    return {{"settle", recordOf(settle.id)}};
}

Json recordOf(const NetworkChange& change) {
    requireNoZero(change.objectName);
    return {{"network",
             {{"kind", kKinds[static_cast<std::size_t>(change.kind)]},
              {"objectName", toJson(change.objectName)},
              {"objectType", objectTypeNames().at(static_cast<std::size_t>(change.objectType))},
              {"objectTypeQualifier", change.objectTypeQualifier},
              {"content", change.content}}}};
}

/// The key of the member that needs the most octets.
std::string largestMember(const Json& object) {
    std::string largest;
    std::size_t octetsMax = 0;
    for (const auto& [key, value] : object.items()) {
        std::string octets;
        appendCbor(octets, value);
        if (octets.size() > octetsMax)
            largest = key;
        octetsMax = std::max(octetsMax, octets.size());
    }
    return largest;
}

/// The number of a name among `names`. Throws DamagedRecord.
template <class Names>
std::size_t numberOf(const std::string& name, const Names& names) {
    std::size_t number = 0;
    for (const auto& each : names) {
        if (name == each)
            return number;
        ++number;
    }
    throw DamagedRecord("a record of the change log is damaged: it has an unknown name");
}

Acknowledge readAcknowledge(const Json& json) {
    const Members members(json, 4);
    return {members.id("id"), members.flag("isAcknowledged"), members.text("user"),
            members.text("notepad")};
}

NetworkChange readNetworkChange(const Json& json) {
    const Members members(json, 5);
    NetworkChange change;
    change.kind = static_cast<NetworkChange::Kind>(numberOf(members.text("kind"), kKinds));
    change.objectName = members.name("objectName");
    change.objectType =
        static_cast<ObjectType>(numberOf(members.text("objectType"), objectTypeNames()));
    change.objectTypeQualifier = members.text("objectTypeQualifier");
    change.content = members.text("content");
    return change;
}

}  // namespace

DamagedRecord::~DamagedRecord() = default;

std::string encode(const Change& change) {
    Json json = {{"v", kRecordVersion}, {"at", change.at}};
    json.update(std::visit([](const auto& what) { return recordOf(what); }, change.what));
    std::string record;
    appendCbor(record, json);
    if (record.size() > kRecordBytesMax)
        throw std::invalid_argument(largestMember(json.back()) + " is too long: the change has " +
                                    std::to_string(record.size()) + " octets, and may have " +
                                    std::to_string(kRecordBytesMax));
    return record;
}

Change decode(std::string_view record) {
    if (record.size() > kRecordBytesMax)
        throw DamagedRecord("a record of the change log is longer than the longest one");
    const Json json = takeCbor(record);
    if (!record.empty())
        throw DamagedRecord("a record of the change log is damaged: something is behind its end");
    if (json.is_object() && json.contains("v") && json["v"] != kRecordVersion)
        throw DamagedRecord("a record of the change log was written by a later version");
    const Members members(json, 3);
    members.natural("v");
    Change change;
    change.at = members.integer("at");
    if (json.contains("report"))
        change.what = Report{members.alarm("report")};
    else if (json.contains("acknowledge"))
        change.what = readAcknowledge(members.at("acknowledge"));
    else if (json.contains("settle"))
        change.what = Settle{members.id("settle")};
    else
        change.what = readNetworkChange(members.at("network"));
    return change;
}

}  // namespace kelp::alarms
