#include "value.h"

namespace kelp::notification {

namespace {

template <class Operand>
bool holds(Comparison operation, const Operand& left, const Operand& right) {
    switch (operation) {
        case Comparison::Less:
            return left < right;
        case Comparison::LessOrEqual:
            return left <= right;
        case Comparison::Equal:
            return left == right;
        case Comparison::NotEqual:
            return left != right;
        case Comparison::GreaterOrEqual:
            return left >= right;
        case Comparison::Greater:
            return left > right;
    }
    return false;
}

std::optional<std::int64_t> integerOf(const Value& value) {
    if (const auto* integer = std::get_if<std::int64_t>(&value))
        return *integer;
    if (const auto* enumerator = std::get_if<EnumValue>(&value))
        return enumerator->number;
    return std::nullopt;
}

std::optional<double> numberOf(const Value& value) {
    if (const auto* number = std::get_if<double>(&value))
        return *number;
    if (const std::optional<std::int64_t> integer = integerOf(value))
        return static_cast<double>(*integer);
    return std::nullopt;
}

std::optional<std::string> textOf(const Value& value) {
    if (const auto* text = std::get_if<std::string>(&value))
        return *text;
    if (const auto* enumerator = std::get_if<EnumValue>(&value))
        return enumerator->name;
    return std::nullopt;
}

Result calculateIntegers(Arithmetic operation, std::int64_t left, std::int64_t right) {
    std::int64_t value = 0;
    bool overflows = false;
    switch (operation) {
        case Arithmetic::Add:
            overflows = __builtin_add_overflow(left, right, &value);
            break;
        case Arithmetic::Subtract:
            overflows = __builtin_sub_overflow(left, right, &value);
            break;
        case Arithmetic::Multiply:
            overflows = __builtin_mul_overflow(left, right, &value);
            break;
        case Arithmetic::Divide:
            return std::nullopt;
    }
    return overflows ? Result() : Result(value);
}

}  // namespace

Result compare(Comparison operation, const Value& left, const Value& right) {
    const auto* leftFlag = std::get_if<bool>(&left);
    const auto* rightFlag = std::get_if<bool>(&right);
    if (leftFlag != nullptr && rightFlag != nullptr)
        return holds(operation, *leftFlag, *rightFlag);
    const auto leftInteger = integerOf(left);
    const auto rightInteger = integerOf(right);
    if (leftInteger && rightInteger)
        return holds(operation, *leftInteger, *rightInteger);
    const auto leftNumber = numberOf(left);
    const auto rightNumber = numberOf(right);
    if (leftNumber && rightNumber)
        return holds(operation, *leftNumber, *rightNumber);
    const auto leftText = textOf(left);
    const auto rightText = textOf(right);
    if (leftText && rightText)
        return holds(operation, *leftText, *rightText);
    return std::nullopt;
}

Result calculate(Arithmetic operation, const Value& left, const Value& right) {
    const auto leftInteger = integerOf(left);
    const auto rightInteger = integerOf(right);
    if (leftInteger && rightInteger && operation != Arithmetic::Divide)
        return calculateIntegers(operation, *leftInteger, *rightInteger);
    const auto leftNumber = numberOf(left);
    const auto rightNumber = numberOf(right);
    if (!leftNumber || !rightNumber)
        return std::nullopt;
    switch (operation) {
        case Arithmetic::Add:
            return *leftNumber + *rightNumber;
        case Arithmetic::Subtract:
            return *leftNumber - *rightNumber;
        case Arithmetic::Multiply:
            return *leftNumber * *rightNumber;
        case Arithmetic::Divide:
            return *rightNumber == 0 ? Result() : Result(*leftNumber / *rightNumber);
    }
    return std::nullopt;
}

Result negate(const Value& value) {
    return calculate(Arithmetic::Subtract, std::int64_t{0}, value);
}

Result isSubstring(const Value& left, const Value& right) {
    const auto part = textOf(left);
    const auto whole = textOf(right);
    if (!part || !whole)
        return std::nullopt;
    return whole->find(*part) != std::string::npos;
}

std::optional<bool> truth(const Result& result) {
    if (!result)
        return std::nullopt;
    const auto* flag = std::get_if<bool>(&*result);
    return flag == nullptr ? std::nullopt : std::optional<bool>(*flag);
}

}  // namespace kelp::notification
