#include "upload/element_round.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace kelp::nms {

void dropRepeated(std::vector<std::string>& elements, WalkProgress& progress) {
    std::vector<std::size_t> order(elements.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return elements[a] < elements[b]; });
    std::vector<bool> isRepeated(elements.size());
    for (std::size_t i = 1; i < order.size(); ++i)
        isRepeated[order[i]] = elements[order[i]] == elements[order[i - 1]];
    std::size_t kept = 0;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        if (isRepeated[i])
            progress.tell("the element " + elements[i] +
                          " is listed more than once; it is read once");
        else if (kept++ != i)
            elements[kept - 1] = std::move(elements[i]);
    }
    elements.resize(kept);
}

void beginWith(const std::optional<std::string>& from, std::vector<std::string>& elements) {
    if (!from)
        return;
    const auto begin = std::find(elements.begin(), elements.end(), *from);
    if (begin == elements.end())
        throw std::invalid_argument("--from: there is no element \"" + *from + "\"");
    elements.erase(elements.begin(), begin);
}

bool elementByElement(const std::vector<std::string>& elements, WalkProgress& progress,
                      const std::function<void(const std::string&)>& read) {
    bool isWhole = true;
    progress.stageBegins(WalkPosition::Stage::OfElement);
    progress.elementsAre(elements.size());
    for (const std::string& element : elements) {
        progress.elementBegins(element);
        try {
            read(element);
        } catch (const ProcessingFailure& failure) {
            if (!isOfObjectAlone(failure))
                throw;
            isWhole = false;
            progress.tell(failure.what() + std::string("; of this element ") +
                          std::to_string(progress.position().writtenOfNext) +
                          " entries were written");
        }
    }
    return isWhole;
}

}  // namespace kelp::nms
