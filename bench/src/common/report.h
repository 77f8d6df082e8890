#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "common/statistics.h"

namespace kelp::bench {

/// A value with which a figure is compared.
struct Reference {
    std::string name;  ///< its name, such as "bare ORB"
    double value = 0;  ///< its value in the figure's unit
};

/// The value that a figure should reach.
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
    /// The values to compare with. The first is the floor, to which the ratio is taken.
    std::vector<Reference> references;
    /// The ratio of each pair of adjacent measurements, not of the medians.
    std::optional<Spread> ratio;
    std::optional<Aim> aim;
    std::string note;

    /// Whether the figure reached its aim. None if it has no aim.
    std::optional<bool> met() const;
};

/// The figures that were measured, and the machine.
struct Report {
    std::string machine;
    double loadBefore = 0;  ///< runnable processes, averaged over the last minute
    double loadAfter = 0;
    std::vector<Figure> figures;

    void add(Figure figure) { figures.push_back(std::move(figure)); }
    void add(std::vector<Figure> more);
};

void printAsTable(const Report& report, std::ostream& out);
void printAsJson(const Report& report, std::ostream& out);

/// Return processor model, cores and memory of this machine as text.
std::string machineInWords();
/// Return the number of runnable processes, averaged over the last minute.
double loadOfMachine();

}  // namespace kelp::bench
