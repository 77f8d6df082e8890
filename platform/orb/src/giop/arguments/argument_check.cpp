#include "giop/arguments/argument_check.h"

#include "giop/arguments/argument_budget.h"
#include "giop/arguments/argument_reader.h"
#include "giop/arguments/operation_shapes.h"
#include "giop/arguments/value_walk.h"

namespace kelp::orb::giop {

std::string_view textOf(ArgumentVerdict verdict) {
    switch (verdict) {
        case ArgumentVerdict::Fine:
            return "fine";
        case ArgumentVerdict::TooDeep:
            return "too deep";
        case ArgumentVerdict::TooMany:
            return "too many";
        case ArgumentVerdict::TooLong:
            return "too long";
        case ArgumentVerdict::Malformed:
            break;
    }
    return "malformed";
}

namespace {

/// Return a table with the types of the operations' parameters. Each thread keeps one, because they
/// are many more than the types in a request.
TypeTable& tableOfThread() {
    thread_local TypeTable table(shapeNodes(), shapeParts());
    table.shrink({shapeNodes().size(), shapeParts().size()});
    return table;
}

}  // namespace

ArgumentVerdict checkArguments(std::string_view operation, const EncodedArguments& arguments,
                               const ArgumentLimits& limits) {
    const auto parameters = parametersOf(operation);
    if (!parameters)
        return ArgumentVerdict::Fine;
    ArgumentBudget budget(limits, arguments.message.size());
    TypeTable& table = tableOfThread();
    ArgumentReader reader(arguments.message, arguments.body, arguments.littleEndian,
                          arguments.fragments);
    ValueWalk(table, budget, reader, arguments.minorVersion).value(*parameters);
    return budget.verdict();
}

}  // namespace kelp::orb::giop
