#pragma once

#include <string>
#include <utility>
#include <vector>

#include "property_path.h"
#include "value.h"

namespace kelp::notification {

/// A constraint, or a part of one, as a tree. Its depth is little more than the nesting of
/// parentheses in the text, because a chain of operators is one node.
struct Expression {
    enum class Kind {
        Literal,     ///< the value of `literal`
        Property,    ///< the value at `path`
        Exists,      ///< whether `path` leads to anything
        HasDefault,  ///< whether none of the labels of the union at `path` is active
        Contains,    ///< whether the sequence at `path` contains the value of the first operand
        Not,         ///< negates the first operand
        And,         ///< of all operands, evaluated up to the first that is false
        Or,          ///< of all operands, evaluated up to the first that is true
        Compare,     ///< compares the first operand with the second
        Substring,   ///< whether the first operand is a substring of the second
        Arithmetic,  ///< the first operand, combined by each of `steps` with the next operand
    };

    Kind kind = Kind::Literal;
    Value literal{};
    PropertyPath path{};
    Comparison comparison = Comparison::Equal;
    std::vector<Arithmetic> steps{};
    std::vector<Expression> operands{};
};

}  // namespace kelp::notification
