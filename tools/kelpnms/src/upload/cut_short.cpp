#include "upload/cut_short.h"

namespace kelp::nms {

namespace {

std::string goOnWith(const std::string& element) {
    return "continue with --from \"" + element + "\"";
}

}  // namespace

std::string cutShort(const std::string& what, const WalkPosition& position) {
    const std::string written = "cut short after " + std::to_string(position.written) + " ";
    if (position.stage == WalkPosition::Stage::Links)
        return written + "links; " +
               (what == "links" ? "begin again"
                                : "the elements are whole; for all links: kelpnms links --json");
    if (position.next.empty())
        return position.written == 0 ? "cut short before anything was written; begin again"
                                     : written + what + "; begin again";
    if (position.writtenOfNext == 0)
        return written + what + "; " + goOnWith(position.next);
    return written + what + ", of which the last " + std::to_string(position.writtenOfNext) +
           " are of " + position.next + " and not all of it: drop these and " +
           goOnWith(position.next);
}

std::string dumpCutShort(const std::string& kept, const std::string& next) {
    if (next.empty())
        return "cut short before the first element was whole; nothing is kept, begin again";
    return "cut short; the complete part is in " + kept + ", " + goOnWith(next);
}

}  // namespace kelp::nms
