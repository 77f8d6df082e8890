#include "constraint.h"

#include <ace/ETCL/ETCL_Constraint.h>
#include <ace/ETCL/ETCL_Interpreter.h>
#include <ace/ETCL/ETCL_y.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>
#include <string_view>

#include "property_path.h"

namespace kelp::notification {

namespace {

constexpr std::size_t kBytesMax = 8192;
constexpr std::size_t kParenthesesMax = 200;

/// The names of a literal's types are for its subclasses only.
struct LiteralTypes : ETCL_Constraint {
    static constexpr auto kText = ACE_ETCL_STRING;
    static constexpr auto kFlag = ACE_ETCL_BOOLEAN;
    static constexpr auto kDouble = ACE_ETCL_DOUBLE;
};

Result literal(const ETCL_Literal_Constraint& each) {
    const auto type = each.expr_type();
    if (type == LiteralTypes::kText)
        return std::string(static_cast<const char*>(each));
    if (type == LiteralTypes::kFlag)
        return static_cast<bool>(static_cast<ACE_CDR::Boolean>(each));
    if (type == LiteralTypes::kDouble)
        return static_cast<double>(static_cast<ACE_CDR::Double>(each));
    // a sign is an operator of its own: what looks negative is a large number in 32 bits
    return std::int64_t{static_cast<std::uint32_t>(static_cast<ACE_CDR::Long>(each))};
}

std::uint32_t indexOf(const ETCL_Literal_Constraint* each) {
    return each == nullptr ? 0 : static_cast<ACE_CDR::ULong>(*each);
}

PathStep::Kind specialKind(int type) {
    switch (type) {
        case ETCL_LENGTH:
            return PathStep::Kind::Length;
        case ETCL_DISCRIMINANT:
            return PathStep::Kind::Discriminant;
        case ETCL_TYPE_ID:
            return PathStep::Kind::TypeId;
        default:
            return PathStep::Kind::RepositoryId;
    }
}

/// "(3)", "(-3)", "('text')", "()".
PathStep labelStep(const ETCL_Union_Value* label) {
    if (label != nullptr && label->string() != nullptr)
        return {PathStep::Kind::Label, static_cast<const char*>(*label->string()), 0};
    if (label == nullptr || label->integer() == nullptr)
        return {PathStep::Kind::DefaultLabel, "", 0};
    const std::int64_t number{indexOf(label->integer())};
    return {PathStep::Kind::Label, std::to_string(label->sign() < 0 ? -number : number), 0};
}

/// The steps of a path in the order in which they are written.
std::optional<PropertyPath> pathOf(const ETCL_Constraint* node) {
    PropertyPath path;
    while (node != nullptr) {
        if (const auto* dot = dynamic_cast<const ETCL_Dot*>(node)) {
            node = dot->component();
        } else if (const auto* member = dynamic_cast<const ETCL_Component*>(node)) {
            path.push_back({PathStep::Kind::Member, member->identifier()->value(), 0});
            node = member->component();
        } else if (const auto* named = dynamic_cast<const ETCL_Component_Assoc*>(node)) {
            path.push_back({PathStep::Kind::Name, named->identifier()->value(), 0});
            node = named->component();
        } else if (const auto* indexed = dynamic_cast<const ETCL_Component_Array*>(node)) {
            path.push_back({PathStep::Kind::Index, "", indexOf(indexed->integer())});
            node = indexed->component();
        } else if (const auto* placed = dynamic_cast<const ETCL_Component_Pos*>(node)) {
            path.push_back({PathStep::Kind::Position, "", indexOf(placed->integer())});
            node = placed->component();
        } else if (const auto* labelled = dynamic_cast<const ETCL_Union_Pos*>(node)) {
            path.push_back(labelStep(labelled->union_value()));
            node = labelled->component();
        } else if (const auto* special = dynamic_cast<const ETCL_Special*>(node)) {
            path.push_back({specialKind(special->type()), "", 0});
            node = nullptr;
        } else if (const auto* eval = dynamic_cast<const ETCL_Eval*>(node)) {
            node = eval->component();
        } else if (const auto* name = dynamic_cast<const ETCL_Identifier*>(node)) {
            path.push_back({PathStep::Kind::Member, name->value(), 0});
            node = nullptr;
        } else {
            return std::nullopt;
        }
    }
    return path;
}

std::optional<Comparison> comparisonOf(int type) {
    switch (type) {
        case ETCL_LT:
            return Comparison::Less;
        case ETCL_LE:
            return Comparison::LessOrEqual;
        case ETCL_EQ:
            return Comparison::Equal;
        case ETCL_NE:
            return Comparison::NotEqual;
        case ETCL_GE:
            return Comparison::GreaterOrEqual;
        case ETCL_GT:
            return Comparison::Greater;
        default:
            return std::nullopt;
    }
}

std::optional<Arithmetic> arithmeticOf(int type) {
    switch (type) {
        case ETCL_PLUS:
            return Arithmetic::Add;
        case ETCL_MINUS:
            return Arithmetic::Subtract;
        case ETCL_MULT:
            return Arithmetic::Multiply;
        case ETCL_DIV:
            return Arithmetic::Divide;
        default:
            return std::nullopt;
    }
}

/// One evaluation of a constraint for one event.
class Evaluation {
  public:
    explicit Evaluation(const CosNotification::StructuredEvent& event) : reader_(event) {}

    Result of(const ETCL_Constraint* node) const {
        if (const auto* each = dynamic_cast<const ETCL_Literal_Constraint*>(node))
            return literal(*each);
        if (const auto* name = dynamic_cast<const ETCL_Identifier*>(node))
            return std::string(name->value());  // an enumerator
        if (const auto* eval = dynamic_cast<const ETCL_Eval*>(node))
            return valueAt(eval);
        if (const auto* exist = dynamic_cast<const ETCL_Exist*>(node))
            return exists(exist->component());
        if (const auto* implied = dynamic_cast<const ETCL_Default*>(node))
            return hasDefaultLabel(implied->component());
        if (const auto* unary = dynamic_cast<const ETCL_Unary_Expr*>(node))
            return ofUnary(*unary);
        if (const auto* binary = dynamic_cast<const ETCL_Binary_Expr*>(node))
            return ofBinary(*binary);
        return std::nullopt;
    }

  private:
    Result valueAt(const ETCL_Constraint* node) const {
        const std::optional<PropertyPath> path = pathOf(node);
        return path ? reader_.value(*path) : std::nullopt;
    }
    Result exists(const ETCL_Constraint* node) const {
        const std::optional<PropertyPath> path = pathOf(node);
        return path ? Result(reader_.exists(*path)) : std::nullopt;
    }
    /// The path is that of a union or, as the grammar has it, of its discriminator.
    Result hasDefaultLabel(const ETCL_Constraint* node) const {
        std::optional<PropertyPath> path = pathOf(node);
        if (!path)
            return std::nullopt;
        if (!path->empty() && path->back().kind == PathStep::Kind::Discriminant)
            path->pop_back();
        return reader_.hasDefaultLabel(*path);
    }
    Result ofUnary(const ETCL_Unary_Expr& unary) const {
        const Result value = of(unary.subexpr());
        if (unary.type() == ETCL_NOT) {
            const std::optional<bool> flag = truth(value);
            return flag ? Result(!*flag) : std::nullopt;
        }
        if (!value)
            return std::nullopt;
        return unary.type() == ETCL_MINUS || unary.type() == ETCL_UMINUS ? negate(*value) : value;
    }
    Result ofBinary(const ETCL_Binary_Expr& binary) const {
        const Result left = of(binary.lhs());
        // what decides already is not asked further: "exist $x and $x > 3"
        if (binary.type() == ETCL_AND || binary.type() == ETCL_OR) {
            const std::optional<bool> flag = truth(left);
            if (!flag || *flag == (binary.type() == ETCL_OR))
                return flag ? Result(*flag) : std::nullopt;
            const std::optional<bool> other = truth(of(binary.rhs()));
            return other ? Result(*other) : std::nullopt;
        }
        if (!left)
            return std::nullopt;
        if (binary.type() == ETCL_IN) {
            const std::optional<PropertyPath> path = pathOf(binary.rhs());
            return path ? reader_.contains(*path, *left) : std::nullopt;
        }
        const Result right = of(binary.rhs());
        if (!right)
            return std::nullopt;
        if (binary.type() == ETCL_TWIDDLE)
            return isSubstring(*left, *right);
        if (const auto comparison = comparisonOf(binary.type()))
            return compare(*comparison, *left, *right);
        if (const auto arithmetic = arithmeticOf(binary.type()))
            return calculate(*arithmetic, *left, *right);
        return std::nullopt;
    }

    const EventReader reader_;
};

/// What the parser would pass over or cut in silence; empty when there is nothing of the kind.
std::string problemOf(const std::string& text) {
    constexpr std::string_view kAllowed = "$.()[]<>=!+-*/~_ \t\r\n";
    constexpr std::size_t kIntegerMax = 4294967295;  // as the parser has them
    bool isQuoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (isQuoted && c == '\\' && i + 1 < text.size()) {
            ++i;
        } else if (c == '\'') {
            isQuoted = !isQuoted;
        } else if (!isQuoted && std::isalnum(static_cast<unsigned char>(c)) == 0 &&
                   kAllowed.find(c) == std::string_view::npos) {
            return std::string("a character that has no meaning: ") + c;
        } else if (!isQuoted && std::isdigit(static_cast<unsigned char>(c)) != 0 &&
                   (i == 0 || (std::isalnum(static_cast<unsigned char>(text[i - 1])) == 0 &&
                               text[i - 1] != '_' && text[i - 1] != '.'))) {
            std::size_t number = 0;
            const auto [end, error] = std::from_chars(text.data() + i, text.data() + text.size(), number);
            const bool isInteger =
                end == text.data() + text.size() || (*end != '.' && *end != 'e' && *end != 'E');
            if (isInteger && (error != std::errc() || number > kIntegerMax))
                return "an integer that is too large";
        }
    }
    return isQuoted ? "a text without its end" : "";
}

/// False when a part of the constraint names what no event has, so that it could never match.
bool canBeEvaluated(const ETCL_Constraint* node) {
    const auto isPath = [](const ETCL_Constraint* part) {
        const std::optional<PropertyPath> path = pathOf(part);
        return path && isPossible(*path);
    };
    if (dynamic_cast<const ETCL_Literal_Constraint*>(node) != nullptr ||
        dynamic_cast<const ETCL_Identifier*>(node) != nullptr)
        return true;
    if (const auto* eval = dynamic_cast<const ETCL_Eval*>(node))
        return isPath(eval);
    if (const auto* exist = dynamic_cast<const ETCL_Exist*>(node))
        return isPath(exist->component());
    if (const auto* implied = dynamic_cast<const ETCL_Default*>(node))
        return isPath(implied->component());
    if (const auto* unary = dynamic_cast<const ETCL_Unary_Expr*>(node))
        return canBeEvaluated(unary->subexpr());
    const auto* binary = dynamic_cast<const ETCL_Binary_Expr*>(node);
    if (binary == nullptr || !canBeEvaluated(binary->lhs()))
        return false;
    return binary->type() == ETCL_IN ? isPath(binary->rhs()) : canBeEvaluated(binary->rhs());
}

bool isBlank(const std::string& text) {
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

}  // namespace

class Constraint::Tree : private ETCL_Interpreter {
  public:
    explicit Tree(const std::string& text) {
        if (isBlank(text))
            return;
        if (text.size() > kBytesMax)
            throw ConstraintSyntaxError("the constraint is too long");
        if (static_cast<std::size_t>(std::count(text.begin(), text.end(), '(')) > kParenthesesMax)
            throw ConstraintSyntaxError("the constraint is too deep");
        if (const std::string problem = problemOf(text); !problem.empty())
            throw ConstraintSyntaxError("the constraint has " + problem);
        if (build_tree(text.c_str()) != 0 || root_ == nullptr)
            throw ConstraintSyntaxError("the constraint cannot be parsed: " + text);
        if (!canBeEvaluated(root_))
            throw ConstraintSyntaxError("the constraint names what no event has: " + text);
    }
    const ETCL_Constraint* root() const { return root_; }
};

Constraint::Constraint(const std::string& text) : tree_(std::make_unique<const Tree>(text)) {}
Constraint::~Constraint() = default;

bool Constraint::matches(const CosNotification::StructuredEvent& event) const {
    return tree_->root() == nullptr || truth(Evaluation(event).of(tree_->root())).value_or(false);
}

}  // namespace kelp::notification
