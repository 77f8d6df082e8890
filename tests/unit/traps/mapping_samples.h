#pragma once

#include <gtest/gtest.h>
#include <kelp/traps/mapping.h>

#include <string>
#include <vector>

namespace kelp::test {

inline std::vector<std::string> problemsOf(const std::string& text) {
    std::vector<traps::MappingProblem> problems;
    traps::Mapping::readText(text, "test.toml", problems);
    std::vector<std::string> texts;
    for (const traps::MappingProblem& each : problems)
        texts.push_back(each.text());
    return texts;
}

inline traps::Mapping mappingOf(const std::string& text) {
    std::vector<traps::MappingProblem> problems;
    traps::Mapping mapping = traps::Mapping::readText(text, "test.toml", problems);
    for (const traps::MappingProblem& each : problems)
        ADD_FAILURE() << each.text();
    return mapping;
}

inline traps::Oid oidOf(const std::string& text) {
    return traps::Oid::parse(text).value();
}

/// A trap 1.3.6.1.4.1.32473.0.1 from 192.0.2.17 with the variable bindings "OID", "value", ...
inline traps::Trap trapWith(const std::vector<std::pair<std::string, std::string>>& varBinds) {
    traps::Trap trap;
    trap.address = "192.0.2.17";
    trap.oid = oidOf("1.3.6.1.4.1.32473.0.1");
    for (const auto& [oid, value] : varBinds)
        trap.varBinds.push_back({oidOf(oid), value});
    return trap;
}

}  // namespace kelp::test
