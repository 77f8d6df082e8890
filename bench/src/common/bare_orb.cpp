#include "common/bare_orb.h"

#include <vector>

#include "option_table.h"

namespace kelp::bench {

CORBA::ORB_ptr startBareOrb(const std::string& program, const orb::OrbOptions& options) {
    orb::OrbOptions withoutGate = options;
    withoutGate.transport = orb::OrbOptions::Transport::Orb;
    orb::OptionTable table = orb::optionTable(withoutGate);
    std::vector<std::string> words = {program};
    for (const char*(*option)[2] = table.pairs(); (*option)[0] != nullptr; ++option) {
        words.push_back(std::string("-ORB") + (*option)[0]);
        words.emplace_back((*option)[1]);
    }
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    auto count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    return CORBA::ORB_init(count, arguments.data());
}

}  // namespace kelp::bench
