#include "dumps/dump_rewrite.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "text/json_line.h"
#include "text/output.h"

namespace kelp::nms {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

/// Where an object is in a dump. The content of the elements comes element by element.
struct DumpPlace {
    enum Section { Ems, Subnetworks, Elements, Content, Links };
    Section section = Ems;
    std::string element;  ///< of Content only
    int kind = 0;         ///< of Content only: holders, boards, ports

    bool operator==(const DumpPlace&) const = default;
};

DumpPlace placeOf(const Json& object) {
    const std::string kind = object.value("object", "");
    if (kind == "EMS")
        return {DumpPlace::Ems, "", 0};
    if (kind == "MultiLayerSubnetwork")
        return {DumpPlace::Subnetworks, "", 0};
    if (kind == "ManagedElement")
        return {DumpPlace::Elements, "", 0};
    if (kind == "TopologicalLink")
        return {DumpPlace::Links, "", 0};
    std::string element;
    for (const Json& part : object["name"]) {
        if (part.value("name", "") == "ManagedElement")
            element = part.value("value", "");
    }
    return {DumpPlace::Content, element,
            kind == "EquipmentHolder" ? 0
            : kind == "Equipment"     ? 1
                                      : 2};
}

/// A file that replaces another one when it is complete.
class ReplacingFile {
  public:
    explicit ReplacingFile(const fs::path& file)
        : file_(file), made_(file.string() + ".new"), output_([this](const std::string& text) {
              errno = 0;
              stream_ << text << std::flush;
              if (!stream_)
                  throw CannotWrite(made_.string());
          }) {
        errno = 0;
        stream_.open(made_, std::ios::binary | std::ios::trunc);
        if (!stream_)
            throw CannotWrite(made_.string());
    }
    ~ReplacingFile() {
        std::error_code ignored;
        if (!isDone_)
            fs::remove(made_, ignored);
    }
    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;

    void write(const Json& object) { output_.write(lineOf(object) + "\n"); }
    void writeLine(const std::string& line) { output_.write(line + "\n"); }
    void finish() {
        output_.flush();
        errno = 0;
        stream_.close();
        if (!stream_ || !isOnDisk(made_, O_WRONLY))
            throw CannotWrite(made_.string());
        std::error_code problem;
        fs::rename(made_, file_, problem);
        if (problem)
            throw CannotWrite(file_.string(), problem.message());
        isDone_ = true;
        const fs::path folder = file_.parent_path();
        isOnDisk(folder.empty() ? "." : folder, O_RDONLY | O_DIRECTORY);
    }

  private:
    static bool isOnDisk(const fs::path& path, int flags) {
        const int descriptor = ::open(path.c_str(), flags | O_CLOEXEC);
        if (descriptor < 0)
            return false;
        const bool isDone = ::fsync(descriptor) == 0;
        const int why = errno;
        ::close(descriptor);
        errno = why;
        return isDone;
    }

    const fs::path file_;
    const fs::path made_;
    std::ofstream stream_;
    Output output_;
    bool isDone_ = false;
};

/// Writes a dump line by line with the changes, and the created objects where they belong.
class DumpMerge {
  public:
    DumpMerge(const PendingChanges& changes, ReplacingFile& output)
        : changes_(changes), output_(output) {
        for (const std::string& key : changes.created()) {
            const ObjectUpdate& update = changes.at(key);
            if (update.isRemoved)
                continue;
            const DumpPlace place = placeOf(update.object);
            left_[place.section][place.element].push_back({key, place.kind});
        }
    }

    void take(const std::string& line) {
        Json object = Json::parse(line, nullptr, false);
        if (!object.is_object() || !object.contains("object") || !object.contains("name") ||
            !object["name"].is_array())
            throw NotADump("a line is not an object of the network");
        moveTo(placeOf(object));
        const ObjectUpdate* const update = changes_.find(object["name"]);
        if (update == nullptr)
            return output_.writeLine(line);
        if (update->object.is_object())
            return writeCreated(PendingChanges::keyOf(object["name"]));
        if (update->isRemoved)
            return;
        for (const Json& each : update->attributes)
            setAttribute(object, each["name"], each["value"]);
        output_.write(object);
    }
    void finish() {
        for (auto& [section, elements] : left_) {
            for (auto& [element, objects] : elements)
                writeAll(objects, kAllKinds);
        }
    }

  private:
    struct Created {
        std::string key;
        int kind;
    };
    static constexpr int kAllKinds = 3;

    /// The objects that follow are at `next`: write the created ones that belong before it.
    void moveTo(const DumpPlace& next) {
        if (at_ == next)
            return;
        if (at_ && at_->section != next.section) {
            for (auto& [element, objects] : left_[at_->section])
                writeAll(objects, kAllKinds);
        } else if (at_ && at_->section == DumpPlace::Content && at_->element != next.element) {
            writeContent(at_->element, kAllKinds);
        }
        if (next.section == DumpPlace::Content)
            writeContent(next.element, next.kind);
        at_ = next;
    }
    void writeContent(const std::string& element, int kinds) {
        auto& elements = left_[DumpPlace::Content];
        if (const auto found = elements.find(element); found != elements.end())
            writeAll(found->second, kinds);
    }
    /// Write the objects of the kinds below `kinds`.
    void writeAll(std::vector<Created>& objects, int kinds) {
        for (int kind = 0; kind < kinds; ++kind) {
            for (const Created& each : objects) {
                if (each.kind == kind)
                    writeCreated(each.key);
            }
        }
        std::erase_if(objects, [kinds](const Created& each) { return each.kind < kinds; });
    }
    void writeCreated(const std::string& key) {
        if (written_.insert(key).second)
            output_.write(changes_.at(key).object);
    }

    const PendingChanges& changes_;
    ReplacingFile& output_;
    std::optional<DumpPlace> at_;
    std::map<DumpPlace::Section, std::map<std::string, std::vector<Created>>> left_;
    std::set<std::string> written_;
};

}  // namespace

void rewriteDump(const fs::path& file, const PendingChanges& changes) {
    std::ifstream in(file, std::ios::binary);
    if (!in)
        throw NotADump(file.string() + " cannot be read");
    ReplacingFile output(file);
    DumpMerge merge(changes, output);
    try {
        for (std::string line; std::getline(in, line);)
            merge.take(line);
    } catch (const nlohmann::json::exception& wrong) {
        throw NotADump(wrong.what());
    }
    if (in.bad())
        throw NotADump(file.string() + " cannot be read");
    merge.finish();
    output.finish();
}

}  // namespace kelp::nms
