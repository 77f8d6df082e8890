#include "upload/network_dump.h"

#include "text/json_line.h"
#include "upload/cut_short.h"
#include "upload/element_round.h"
#include "upload/network_json.h"

namespace kelp::nms {

namespace {

constexpr const char* kEquipmentManager = "EquipmentInventory";

}  // namespace

bool NetworkDump::run(NmsSession& session) {
    const std::shared_ptr<DumpFile> file = open();
    Output output([&](const std::string& text) {
        if (file)
            file->write(text);
        else
            writeToStandardOutput(text);
    });
    NetworkReader reader(session, options_.batch, progress_);
    reader.batchTaken = [&output] { output.flush(); };
    const auto take = [&](const nlohmann::ordered_json& record) {
        output.write(lineOf(record) + "\n");
        progress_.entryWritten();
    };
    bool hasEquipment = reader.hasManager(kEquipmentManager);
    if (!hasEquipment)
        progress_.tell(std::string("the EMS has no manager ") + kEquipmentManager +
                       ": equipment is left out");

    const std::vector<std::string> elements = beginning(reader, take);
    const bool isWhole = elementByElement(elements, progress_, [&](const std::string& element) {
        output.flush();
        if (file)
            file->markBefore(element);
        try {
            if (hasEquipment)
                reader.equipment(element, take);
        } catch (const NoSuchManager& lack) {
            hasEquipment = false;
            progress_.tell(lack.what() + std::string(": equipment is left out"));
        }
        reader.ports(element, take);
    });
    progress_.stageBegins(WalkPosition::Stage::Links);
    reader.links(take);
    output.flush();
    if (file)
        file->finish();
    return isWhole && !reader.isDoubtful();
}

/// Write what comes before the elements' equipment and ports. Return the elements whose equipment
/// and ports follow.
std::vector<std::string> NetworkDump::beginning(NetworkReader& reader,
                                                const NetworkReader::Take& take) {
    std::vector<std::string> elements;
    progress_.stageBegins(WalkPosition::Stage::Elements);
    if (options_.from) {
        elements = reader.elementNames();
    } else {
        take(reader.ems());
        reader.subnetworks(take);
        reader.elements([&](const nlohmann::ordered_json& record) {
            take(record);
            if (std::string element = reader.elementOf(record["name"]); !element.empty())
                elements.push_back(std::move(element));
        });
    }
    dropRepeated(elements, progress_);
    beginWith(options_.from, elements);
    return elements;
}

std::shared_ptr<DumpFile> NetworkDump::open() {
    const util::MutexLock lock(mutex_);
    if (!options_.file.empty())
        file_ = std::make_shared<DumpFile>(options_.file, options_.from);
    return file_;
}

std::string NetworkDump::cutShort() {
    const util::MutexLock lock(mutex_);
    if (file_)
        return dumpCutShort(file_->partial().string(), file_->suspend());
    return kelp::nms::cutShort("entries", progress_.position());
}

}  // namespace kelp::nms
