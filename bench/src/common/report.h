#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "common/statistics.h"

namespace kelp::bench {

/// A value beside which a figure is to be read.
struct Reference {
    std::string name;  ///< "bare ORB"
    double value = 0;  ///< in the figure's unit
};

/// What a figure should reach.
struct Aim {
    enum class Of { Ratio, Value };
    enum class Bound { AtLeast, AtMost };
    Of of = Of::Ratio;
    Bound bound = Bound::AtLeast;
    double limit = 0;
};

/// One measured figure.
struct Figure {
    std::string name;
    std::string unit;
    double value = 0;
    std::vector<Reference> references;  ///< the first is the floor, which the ratio is taken of
    std::optional<Spread> ratio;  ///< of the pairs measured next to each other, not of the medians
    std::optional<Aim> aim;
    std::string note;

    /// Whether the aim was reached; none without one.
    std::optional<bool> met() const;
};

/// What was measured, on which machine.
struct Report {
    std::string machine;
    double loadBefore = 0;  ///< runnable processes over the last minute
    double loadAfter = 0;
    std::vector<Figure> figures;

    void add(Figure figure) { figures.push_back(std::move(figure)); }
    void add(std::vector<Figure> more);
};

void printTable(const Report& report, std::ostream& out);
void printJson(const Report& report, std::ostream& out);

/// Processor model, cores and memory of this machine, in words.
std::string machineInWords();
/// Runnable processes over the last minute.
double loadOfMachine();

}  // namespace kelp::bench
