#pragma once

#include <cstdint>

#include "giop/arguments/argument_budget.h"
#include "giop/arguments/argument_reader.h"
#include "giop/arguments/type_table.h"

namespace kelp::orb::giop {

/// Walks encoded values along their types without decoding them. Reads the types of anys on the
/// way. Each operation returns false when the budget has a verdict. Not thread safe.
class ValueWalk {
  public:
    ValueWalk(TypeTable& table, ArgumentBudget& budget, ArgumentReader& reader,
              std::uint8_t minorVersion)
        : table_(table), budget_(budget), reader_(reader), minorVersion_(minorVersion) {}

    bool value(std::uint32_t type);

  private:
    bool inside(std::uint32_t type);
    bool any();
    bool typeCode();
    bool reference();
    bool structMembers(const TypeNode& node);
    bool unionMember(const TypeNode& node);
    bool sequence(const TypeNode& node);
    bool elements(std::uint32_t type, std::uint64_t count);
    bool wideChar();
    bool wideText();
    bool nilValue();
    bool interface();
    bool unlessShort();

    TypeTable& table_;
    ArgumentBudget& budget_;
    ArgumentReader& reader_;
    const std::uint8_t minorVersion_;
    std::uint32_t depth_ = 0;
    std::uint32_t anyDepth_ = 0;
};

}  // namespace kelp::orb::giop
