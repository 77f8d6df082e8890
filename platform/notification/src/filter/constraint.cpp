#include "constraint.h"

#include <utility>

#include "constraint_parser.h"

namespace kelp::notification {

namespace {

using Kind = Expression::Kind;

/// One evaluation of a constraint for one event.
class Evaluation {
  public:
    Evaluation(const kelp::orb::EventView& event, Budget& budget)
        : budget_(budget), reader_(event, budget) {}

    Result of(const Expression& node) const {
        if (!budget_.spend())
            return std::nullopt;
        switch (node.kind) {
            case Kind::Literal:
                return node.literal;
            case Kind::Property:
                return reader_.value(node.path);
            case Kind::Exists:
                return reader_.exists(node.path);
            case Kind::HasDefault:
                return reader_.hasDefaultLabel(node.path);
            case Kind::Not:
                return opposite(of(node.operands.front()));
            case Kind::And:
                return ofChain(node, false);
            case Kind::Or:
                return ofChain(node, true);
            case Kind::Arithmetic:
                return ofArithmetic(node);
            case Kind::Contains:
            case Kind::Compare:
            case Kind::Substring:
                return ofPair(node);
        }
        return std::nullopt;
    }

  private:
    static Result opposite(const Result& value) {
        const std::optional<bool> flag = truth(value);
        return flag ? Result(!*flag) : std::nullopt;
    }
    /// Stops at the first operand that decides: "exist $x and $x > 3".
    Result ofChain(const Expression& node, bool decides) const {
        for (const Expression& each : node.operands) {
            const std::optional<bool> flag = truth(of(each));
            if (!flag || *flag == decides)
                return flag ? Result(*flag) : std::nullopt;
        }
        return !decides;
    }
    Result ofArithmetic(const Expression& node) const {
        Result value = of(node.operands.front());
        for (std::size_t i = 0; i < node.steps.size() && value; ++i) {
            const Result operand = of(node.operands[i + 1]);
            value = operand ? calculate(node.steps[i], *value, *operand) : std::nullopt;
        }
        return value;
    }
    Result ofPair(const Expression& node) const {
        const Result left = of(node.operands.front());
        if (!left)
            return std::nullopt;
        if (node.kind == Kind::Contains)
            return reader_.contains(node.path, *left);
        const Result right = of(node.operands.back());
        if (!right)
            return std::nullopt;
        const std::size_t part = costOf(*left);
        const std::size_t whole = costOf(*right);
        if (node.kind == Kind::Compare)
            return budget_.spend(part + whole) ? compare(node.comparison, *left, *right)
                                               : std::nullopt;
        // at each position of the whole text the comparison may fail only at the last character
        return budget_.spend(whole * (part + 1)) ? isSubstring(*left, *right) : std::nullopt;
    }
    static std::size_t costOf(const Value& value) {
        constexpr std::size_t octetsPerStep = 32;
        const auto* const text = std::get_if<std::string>(&value);
        return text == nullptr ? 0 : text->size() / octetsPerStep;
    }

    Budget& budget_;
    const EventReader reader_;
};

}  // namespace

Constraint::Constraint(const std::string& text, const ConstraintLimits& limits)
    : limits_(limits), expression_(parseConstraint(text, limits)) {}

bool Constraint::matches(const kelp::orb::EventView& event, Budget& budget) const {
    return !expression_ || truth(Evaluation(event, budget).of(*expression_)).value_or(false);
}

bool Constraint::matches(const kelp::orb::EventView& event) const {
    Budget budget(limits_.cost);
    return matches(event, budget);
}

}  // namespace kelp::notification
