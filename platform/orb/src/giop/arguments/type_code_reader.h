#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "giop/arguments/argument_budget.h"
#include "giop/arguments/argument_reader.h"
#include "giop/arguments/type_table.h"

namespace kelp::orb::giop {

/// Reads one outermost TypeCode (CORBA 15.3.5.1) into a table. An indirection must lead to a type
/// that began earlier within the same outermost TypeCode. An indirection to a type that is still
/// open makes a recursive type. IDL has these only as elements of sequences and in valuetypes. Not
/// thread safe. A thread uses one at a time, because all of a thread share their working memory.
class TypeCodeReader {
  public:
    TypeCodeReader(TypeTable& table, ArgumentBudget& budget, std::uint32_t anyDepth);

    /// Return the place of the type in the table; nothing when the budget has a verdict.
    std::optional<std::uint32_t> read(ArgumentReader& reader);

  private:
    /// A type that began at an offset, kept for indirections to it.
    struct Seen {
        std::size_t offset;
        std::uint32_t place;
        std::uint32_t
            weight;  ///< number of types in it, including those behind indirections; 0: still open
        std::uint64_t recursion;  ///< levels around it to which types in it lead back, one bit each
        bool canRecur;            ///< a struct, exception, union or valuetype
    };

    std::optional<std::uint32_t> type(ArgumentReader& reader, bool mayRecur);
    std::optional<std::uint32_t> indirection(ArgumentReader& reader, bool mayRecur);
    std::optional<std::uint32_t> recursion(const Seen& target, bool mayRecur);
    std::optional<std::uint32_t> repetition(const Seen& target);

    // Read the parameters of a kind. `own` is the type's index in seen_, `place` its place in the
    // table.
    bool content(ArgumentReader& reader, std::uint32_t kind, std::size_t own);
    bool encapsulated(ArgumentReader& reader, std::uint32_t kind, std::size_t own);
    bool named(ArgumentReader& inside, std::uint32_t kind, std::size_t own);
    bool alias(ArgumentReader& inside, std::size_t own);
    bool elements(ArgumentReader& inside, bool isSequence, std::size_t own);
    bool enumerators(ArgumentReader& inside);
    bool members(ArgumentReader& inside, std::uint32_t place);
    bool unionMembers(ArgumentReader& inside, std::uint32_t place);
    bool valueMembers(ArgumentReader& inside, std::uint32_t place);

    bool count(std::uint64_t types);
    std::optional<std::uint32_t> refuse(ArgumentVerdict verdict);

    /// Return the thread's working memory, which is empty.
    static std::vector<Seen>& seenOfThread();
    static std::vector<std::size_t>& openOfThread();

    TypeTable& table_;
    ArgumentBudget& budget_;
    const std::uint32_t anyDepth_;
    std::uint64_t types_ = 0;
    std::vector<Seen>& seen_;         ///< sorted by offset
    std::vector<std::size_t>& open_;  ///< the types around the current one, as indexes into seen_
};

}  // namespace kelp::orb::giop
