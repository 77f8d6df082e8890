#pragma once

#include <string>
#include <utility>
#include <vector>

#include "property_path.h"
#include "value.h"

namespace kelp::notification {

/// A constraint, or a part of one, as a tree. It is as deep as its text has parentheses in each
/// other, and a little: chains of operators are one node.
struct Expression {
    enum class Kind {
        Literal,     ///< `literal`
        Property,    ///< the value at `path`
        Exists,      ///< whether there is something at `path`
        HasDefault,  ///< whether none of the labels of the union at `path` is the active one
        Contains,    ///< whether the sequence at `path` has the first operand among its elements
        Not,         ///< of the first operand
        And,         ///< of all operands; what is known is not asked further
        Or,          ///< likewise
        Compare,     ///< the first operand with the second
        Substring,   ///< whether the first operand is part of the second
        Arithmetic,  ///< the first operand, then each of `steps` with the next one
    };

    Kind kind = Kind::Literal;
    Value literal{};
    PropertyPath path{};
    Comparison comparison = Comparison::Equal;
    std::vector<Arithmetic> steps{};
    std::vector<Expression> operands{};
};

}  // namespace kelp::notification
