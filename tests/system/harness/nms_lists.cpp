#include "harness/nms_lists.h"

#include <sstream>

#include "harness/nms_process.h"

namespace kelp::test {

namespace {

/// Read the values at the beginning of an answer.
template <class... Values>
std::istringstream parse(const std::string& answer, Values&... values) {
    std::istringstream in(answer);
    (in >> ... >> values);
    return in;
}

}  // namespace

NmsLists::NmsLists(NmsProcess& process, int nms) : process_(process), nms_(nms) {}

template <class... Arguments>
std::string NmsLists::tell(const std::string& command, Arguments... arguments) const {
    std::ostringstream line;
    line << "list " << nms_ << ' ' << command;
    ((line << ' ' << arguments), ...);
    return process_.ask(line.str());
}

NmsLists::Answer NmsLists::ask(std::uint32_t howMany) {
    Answer answer;
    parse(tell("ask", howMany), answer.first, answer.iterator);
    return answer;
}

NmsLists::Batch NmsLists::next(int iterator, std::uint32_t howMany) {
    Batch batch;
    parse(tell("next", iterator, howMany), batch.isMore, batch.entries);
    return batch;
}

int NmsLists::length(int iterator) {
    return std::stoi(tell("length", iterator));
}

void NmsLists::destroy(int iterator) {
    tell("destroy", iterator);
}

std::string NmsLists::outcomes(int iterator) {
    return tell("outcomes", iterator);
}

std::string NmsLists::reference(int iterator) {
    return tell("reference", iterator);
}

std::string NmsLists::outcomeByReference(const std::string& reference) {
    return tell("knows", reference);
}

NmsLists::Walk NmsLists::walk(std::uint32_t howMany) {
    Walk walk;
    parse(tell("walk", howMany), walk.entries, walk.different, walk.largestBatch, walk.afterwards);
    return walk;
}

NmsLists::Openings NmsLists::openMany(int threads, int each, bool isWatched) {
    Openings openings;
    parse(tell("open", threads, each, isWatched), openings.opened, openings.refused,
          openings.failed, openings.openAtOnce);
    return openings;
}

NmsLists::Probe NmsLists::probe() {
    Probe probe;
    parse(tell("probe"), probe.open, probe.firstOpen);
    return probe;
}

void NmsLists::startMixture() {
    tell("mix");
}

NmsLists::Mixture NmsLists::mixture() {
    Mixture mixture;
    parse(tell("mixed"), mixture.served, mixture.closed, mixture.strange);
    return mixture;
}

NmsLists::Mixture NmsLists::stopMixture() {
    Mixture mixture;
    std::istringstream rest =
        parse(tell("unmix"), mixture.served, mixture.closed, mixture.strange, mixture.gaps);
    std::getline(rest >> std::ws, mixture.strangest);
    return mixture;
}

}  // namespace kelp::test
