#include "constraint_parser.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <string>
#include <system_error>
#include <utility>

#include "constraint.h"

namespace kelp::notification {

namespace {

/// Maximum nesting of parentheses. Nobody writes more.
constexpr int kDepthMax = 50;
/// Estimated number of elements of a sequence, which depends on the event.
constexpr std::size_t kLoopCost = 50;
/// Octets of text that are compared in one step.
constexpr std::size_t kOctetsPerStep = 32;
constexpr std::int64_t kIntegerMax = 4294967295;

constexpr std::array<std::string_view, 8> kKeywords = {"and", "or",   "not",   "exist",
                                                       "in",  "TRUE", "FALSE", "default"};

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isWord(char c) {
    return isLetter(c) || isDigit(c) || c == '_';
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/// The text, token by token.
class Scanner {
  public:
    explicit Scanner(std::string_view text) : text_(text) { skipBlanks(); }

    bool isAtEnd() const { return at_ == text_.size(); }
    char next() const { return isAtEnd() ? '\0' : text_[at_]; }

    /// Skip the symbol if it is next. False if it is not.
    bool take(std::string_view symbol) {
        if (!text_.substr(at_).starts_with(symbol))
            return false;
        at_ += symbol.size();
        skipBlanks();
        return true;
    }
    void require(std::string_view symbol) {
        if (!take(symbol))
            fail("'" + std::string(symbol) + "' is missing");
    }
    bool isKeyword(std::string_view keyword) const { return word() == keyword; }
    bool takeKeyword(std::string_view keyword) { return isKeyword(keyword) && take(keyword); }

    bool isAtName() const { return isLetter(next()) || next() == '\\'; }
    /// Read an identifier. Keywords are refused unless a backslash precedes them.
    std::string name() {
        const bool isEscaped = next() == '\\';
        if (isEscaped)
            ++at_;
        const std::string_view found = word();
        if (found.empty() || !isLetter(found.front()))
            fail("a name is missing");
        if (!isEscaped) {
            for (const std::string_view keyword : kKeywords) {
                if (found == keyword)
                    fail("a keyword stands for a name");
            }
        }
        take(found);
        return std::string(found);
    }
    std::uint32_t index() {
        const std::string_view digits = numeral();
        std::uint32_t value = 0;
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), value);
        if (digits.empty() || error != std::errc() || end != digits.data() + digits.size())
            fail("an index is missing or too large");
        take(digits);
        return value;
    }
    Value number() {
        std::string_view found = numeral();
        const bool isInteger =
            next(found.size()) != '.' && next(found.size()) != 'e' && next(found.size()) != 'E';
        if (!isInteger)
            return real();
        std::int64_t value = 0;
        const auto [end, error] = std::from_chars(found.data(), found.data() + found.size(), value);
        if (found.empty() || error != std::errc() || end != found.data() + found.size() ||
            value > kIntegerMax)
            fail("an integer is missing or too large");
        endOfNumber(found.size());
        return value;
    }
    std::string quoted() {
        std::string value;
        std::size_t end = at_ + 1;
        for (; end < text_.size() && text_[end] != '\''; ++end) {
            const bool isEscape = text_[end] == '\\' && end + 1 < text_.size() &&
                                  (text_[end + 1] == '\'' || text_[end + 1] == '\\');
            end += isEscape ? 1 : 0;
            value += text_[end];
        }
        if (end >= text_.size())
            fail("a text has no end");
        at_ = end + 1;
        skipBlanks();
        return value;
    }

    [[noreturn]] void fail(const std::string& why) const {
        throw ConstraintSyntaxError("the constraint cannot be parsed at position " +
                                    std::to_string(at_ + 1) + ": " + why);
    }

  private:
    char next(std::size_t ahead) const {
        return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0';
    }
    void skipBlanks() {
        while (!isAtEnd() && isBlank(text_[at_]))
            ++at_;
    }
    std::string_view word() const {
        std::size_t end = at_;
        while (end < text_.size() && isWord(text_[end]))
            ++end;
        return text_.substr(at_, end - at_);
    }
    std::string_view numeral() const {
        std::size_t end = at_;
        while (end < text_.size() && isDigit(text_[end]))
            ++end;
        return text_.substr(at_, end - at_);
    }
    Value real() {
        double value = 0;
        const char* const begin = text_.data() + at_;
        const auto [end, error] = std::from_chars(begin, text_.data() + text_.size(), value);
        if (error != std::errc())
            fail("a number is missing or too large");
        endOfNumber(static_cast<std::size_t>(end - begin));
        return value;
    }
    void endOfNumber(std::size_t length) {
        if (isWord(next(length)) || next(length) == '.')
            fail("a number does not end");
        at_ += length;
        skipBlanks();
    }

    const std::string_view text_;
    std::size_t at_ = 0;
};

/// A recursive-descent parser. One function per rule of the grammar.
class Parser {
  public:
    Parser(std::string_view text, std::size_t costMax) : scanner_(text), costMax_(costMax) {}

    std::optional<Expression> all() {
        if (scanner_.isAtEnd())
            return std::nullopt;
        Expression whole = disjunction();
        if (!scanner_.isAtEnd())
            scanner_.fail("there is something behind its end");
        return whole;
    }

  private:
    using Kind = Expression::Kind;

    Expression disjunction() {
        return chain(Kind::Or, "or", [this] { return conjunction(); });
    }
    Expression conjunction() {
        return chain(Kind::And, "and", [this] { return comparison(); });
    }
    template <class Operand>
    Expression chain(Kind kind, std::string_view keyword, Operand operand) {
        Expression first = operand();
        if (!scanner_.isKeyword(keyword))
            return first;
        Expression made = node(kind);
        made.operands.push_back(std::move(first));
        while (scanner_.takeKeyword(keyword)) {
            charge(1);
            made.operands.push_back(operand());
        }
        return made;
    }
    Expression comparison() {
        Expression left = membership();
        const std::optional<Comparison> operation = comparisonOperator();
        if (!operation)
            return left;
        Expression made = node(Kind::Compare);
        made.comparison = *operation;
        made.operands.push_back(std::move(left));
        made.operands.push_back(membership());
        return made;
    }
    std::optional<Comparison> comparisonOperator() {
        // longer operators first
        static constexpr std::array<std::pair<std::string_view, Comparison>, 6> operators = {{
            {"==", Comparison::Equal},
            {"!=", Comparison::NotEqual},
            {"<=", Comparison::LessOrEqual},
            {">=", Comparison::GreaterOrEqual},
            {"<", Comparison::Less},
            {">", Comparison::Greater},
        }};
        for (const auto& [symbol, operation] : operators) {
            if (scanner_.take(symbol))
                return operation;
        }
        return std::nullopt;
    }
    Expression membership() {
        Expression element = substring();
        if (!scanner_.takeKeyword("in"))
            return element;
        Expression made = node(Kind::Contains, kLoopCost);
        made.path = pathOrName();
        made.operands.push_back(std::move(element));
        return made;
    }
    Expression substring() {
        Expression part = sum();
        if (!scanner_.take("~"))
            return part;
        Expression made = node(Kind::Substring, kLoopCost);
        made.operands.push_back(std::move(part));
        made.operands.push_back(sum());
        return made;
    }
    Expression sum() {
        return calculation("+", Arithmetic::Add, "-", Arithmetic::Subtract,
                           [this] { return product(); });
    }
    Expression product() {
        return calculation("*", Arithmetic::Multiply, "/", Arithmetic::Divide,
                           [this] { return negation(); });
    }
    template <class Operand>
    Expression calculation(std::string_view one, Arithmetic first, std::string_view other,
                           Arithmetic second, Operand operand) {
        Expression made = operand();
        bool isChain = false;
        for (;;) {
            const bool isFirst = scanner_.take(one);
            if (!isFirst && !scanner_.take(other))
                return made;
            if (!std::exchange(isChain, true)) {
                Expression all = node(Kind::Arithmetic);
                all.operands.push_back(std::move(made));
                made = std::move(all);
            }
            charge(1);
            made.steps.push_back(isFirst ? first : second);
            made.operands.push_back(operand());
        }
    }
    Expression negation() {
        if (!scanner_.takeKeyword("not"))
            return factor();
        Expression made = node(Kind::Not);
        made.operands.push_back(factor());
        return made;
    }
    Expression factor() {
        if (scanner_.take("("))
            return nested();
        if (scanner_.takeKeyword("exist")) {
            Expression made = node(Kind::Exists);
            made.path = pathOrName();
            return made;
        }
        if (scanner_.takeKeyword("default")) {
            Expression made = node(Kind::HasDefault, kLoopCost);
            made.path = pathOrName();
            // the path leads to the union or, as in the grammar, to its discriminator
            if (!made.path.empty() && made.path.back().kind == PathStep::Kind::Discriminant)
                made.path.pop_back();
            return made;
        }
        if (scanner_.next() == '$') {
            Expression made = node(Kind::Property);
            made.path = pathOrName();
            return made;
        }
        return literal();
    }
    Expression nested() {
        if (++depth_ > kDepthMax)
            throw ConstraintSyntaxError("the constraint is too deep");
        Expression made = disjunction();
        scanner_.require(")");
        --depth_;
        return made;
    }
    Expression literal() {
        Expression made = node(Kind::Literal);
        if (scanner_.takeKeyword("TRUE")) {
            made.literal = true;
        } else if (scanner_.takeKeyword("FALSE")) {
            made.literal = false;
        } else if (scanner_.next() == '\'') {
            std::string text = scanner_.quoted();
            charge(text.size() / kOctetsPerStep);
            made.literal = std::move(text);
        } else if (scanner_.isAtName()) {
            made.literal = scanner_.name();  // an enumerator
        } else {
            const bool isNegative = scanner_.take("-");
            if (!isNegative)
                scanner_.take("+");
            made.literal = scanner_.number();
            if (isNegative)
                made.literal = negate(made.literal).value_or(made.literal);
        }
        return made;
    }

    PropertyPath pathOrName() {
        PropertyPath path;
        if (!scanner_.take("$")) {
            path.push_back({PathStep::Kind::Member, scanner_.name(), 0});
            charge(2);
            return path;
        }
        if (scanner_.isAtName())
            path.push_back({PathStep::Kind::Member, scanner_.name(), 0});
        while (step(path))
            charge(path.back().kind == PathStep::Kind::Name ? kLoopCost : 2);
        charge(2);
        if (!isPossible(path))
            scanner_.fail("no event has what stands before");
        return path;
    }
    /// Read one more step of a path. False if there is none.
    bool step(PropertyPath& path) {
        if (!path.empty() && path.back().kind >= PathStep::Kind::Length)
            return false;
        if (scanner_.take("[")) {
            path.push_back({PathStep::Kind::Index, "", scanner_.index()});
            scanner_.require("]");
        } else if (scanner_.take("(")) {
            path.push_back({PathStep::Kind::Name, scanner_.name(), 0});
            scanner_.require(")");
        } else if (scanner_.take(".")) {
            path.push_back(dotted());
        } else {
            return false;
        }
        return true;
    }
    PathStep dotted() {
        static constexpr std::array<std::pair<std::string_view, PathStep::Kind>, 4> specials = {{
            {"_length", PathStep::Kind::Length},
            {"_d", PathStep::Kind::Discriminant},
            {"_type_id", PathStep::Kind::TypeId},
            {"_repos_id", PathStep::Kind::RepositoryId},
        }};
        for (const auto& [word, kind] : specials) {
            if (scanner_.takeKeyword(word))
                return {kind, "", 0};
        }
        if (scanner_.take("("))
            return label();
        if (isDigit(scanner_.next()))
            return {PathStep::Kind::Position, "", scanner_.index()};
        return {PathStep::Kind::Member, scanner_.name(), 0};
    }

    /// Read the label of a union: "3)", "-3)", "'text')" or ")".
    PathStep label() {
        if (scanner_.take(")"))
            return {PathStep::Kind::DefaultLabel, "", 0};
        PathStep made{PathStep::Kind::Label, "", 0};
        if (scanner_.next() == '\'') {
            made.name = scanner_.quoted();
        } else {
            const bool isNegative = scanner_.take("-");
            if (!isNegative)
                scanner_.take("+");
            made.name = (isNegative ? "-" : "") + std::to_string(scanner_.index());
        }
        scanner_.require(")");
        return made;
    }

    Expression node(Kind kind, std::size_t cost = 1) {
        charge(cost);
        Expression made;
        made.kind = kind;
        return made;
    }
    void charge(std::size_t cost) {
        cost_ += cost;
        if (cost_ > costMax_)
            throw ConstraintSyntaxError("the constraint costs too much");
    }

    Scanner scanner_;
    const std::size_t costMax_;
    std::size_t cost_ = 0;
    int depth_ = 0;
};

}  // namespace

std::optional<Expression> parseConstraint(std::string_view text, const ConstraintLimits& limits) {
    if (text.size() > limits.octets)
        throw ConstraintSyntaxError("the constraint is too long");
    return Parser(text, limits.cost).all();
}

}  // namespace kelp::notification
