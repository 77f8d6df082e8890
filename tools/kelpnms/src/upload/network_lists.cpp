#include "upload/network_lists.h"

#include <unistd.h>

#include "text/terminal.h"
#include "upload/cut_short.h"
#include "upload/element_round.h"

namespace kelp::nms {

namespace {

RecordLayout layoutOf(ListKind kind) {
    switch (kind) {
        case ListKind::Elements:
            return elementLayout();
        case ListKind::Ports:
            return portLayout();
        case ListKind::Equipment:
            return equipmentLayout();
        case ListKind::Links:
            break;
    }
    return linkLayout();
}

}  // namespace

std::string contentOf(ListKind kind) {
    switch (kind) {
        case ListKind::Elements:
            return "elements";
        case ListKind::Ports:
            return "ports";
        case ListKind::Equipment:
            return "equipment";
        case ListKind::Links:
            break;
    }
    return "links";
}

NetworkLists::NetworkLists(ListKind kind, const ListOptions& options, WalkProgress& progress)
    : kind_(kind), options_(options), progress_(progress) {}

bool NetworkLists::run(NmsSession& session) {
    const bool hasTerminal = terminalWidth(STDOUT_FILENO) > 0;
    Output output([&](const std::string& text) {
        if (hasTerminal)
            progress_.hideBar();
        writeToStandardOutput(text);
    });
    const auto writer =
        recordWriter(options_.format, layoutOf(kind_), output, terminalWidth(STDOUT_FILENO));
    const auto finish = [&] {
        writer->finish();
        output.flush();
    };
    NetworkReader reader(session, options_.batch, progress_);
    reader.batchTaken = [&output] { output.flush(); };
    try {
        const bool isWhole = read(reader, [&](const nlohmann::ordered_json& record) {
            writer->write(record);
            progress_.entryWritten();
        });
        finish();
        return isWhole && !reader.isDoubtful();
    } catch (const CannotWrite&) {
        throw;
    } catch (const NoSuchManager&) {
        throw;  // there is no list, so no header is written
    } catch (const std::exception&) {
        finish();
        throw;
    }
}

bool NetworkLists::read(NetworkReader& reader, const Take& take) {
    switch (kind_) {
        case ListKind::Elements:
            return readElements(reader, take);
        case ListKind::Ports:
            return readOfElements(reader,
                                  [&](const std::string& element) { reader.ports(element, take); });
        case ListKind::Equipment:
            reader.needManager("EquipmentInventory");
            return readOfElements(
                reader, [&](const std::string& element) { reader.equipment(element, take); });
        case ListKind::Links:
            break;
    }
    return readLinks(reader, take);
}

bool NetworkLists::readElements(NetworkReader& reader, const Take& take) {
    progress_.stageBegins(WalkPosition::Stage::Elements);
    bool hasBegun = !options_.from;
    // hold back one record, so that the element to go on with is always known
    nlohmann::ordered_json held;
    reader.elements([&](const nlohmann::ordered_json& record) {
        const std::string element = componentOf(record["name"], "ManagedElement");
        hasBegun = hasBegun || element == *options_.from;
        if (!hasBegun)
            return;
        if (!held.is_null())
            take(held);
        progress_.nextIs(element);
        held = record;
    });
    if (!hasBegun)
        throw std::invalid_argument("--from: there is no element \"" + *options_.from + "\"");
    if (!held.is_null())
        take(held);
    return true;
}

bool NetworkLists::readOfElements(NetworkReader& reader,
                                  const std::function<void(const std::string&)>& readOne) {
    std::vector<std::string> elements =
        options_.elements.empty() ? reader.elementNames() : options_.elements;
    dropRepeated(elements, progress_);
    beginWith(options_.from, elements);
    return elementByElement(elements, progress_, readOne);
}

bool NetworkLists::readLinks(NetworkReader& reader, const Take& take) {
    progress_.stageBegins(WalkPosition::Stage::Links);
    reader.links(take);
    return true;
}

std::string NetworkLists::cutShort() {
    return kelp::nms::cutShort(contentOf(kind_), progress_.position());
}

}  // namespace kelp::nms
