#pragma once

#include <kelp/orb/corba.h>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace kelp::notification {

/// An enumerator. It compares with texts by its name and with numbers by its position.
struct EnumValue {
    std::string name;
    std::int64_t number = 0;
};

/// The result of a part of a constraint. None means a failure: a missing property, types that do
/// not fit each other, a division by zero. A constraint that fails does not match.
using Value = std::variant<bool, std::int64_t, double, std::string, EnumValue>;
using Result = std::optional<Value>;

enum class Comparison { Less, LessOrEqual, Equal, NotEqual, GreaterOrEqual, Greater };
enum class Arithmetic { Add, Subtract, Multiply, Divide };

Result compare(Comparison operation, const Value& left, const Value& right);
Result calculate(Arithmetic operation, const Value& left, const Value& right);
Result negate(const Value& value);
/// Whether the left text is a substring of the right one.
Result isSubstring(const Value& left, const Value& right);
std::optional<bool> truth(const Result& result);

}  // namespace kelp::notification
