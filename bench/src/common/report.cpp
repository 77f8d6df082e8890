#include "common/report.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <ostream>

namespace kelp::bench {

namespace {

/// Format small values with three significant digits, large ones without decimals.
std::string number(double value) {
    if (value >= 1000)
        return fmt::format("{:.0f}", value);
    return fmt::format("{:.{}f}", value, value >= 100 ? 0 : value >= 10 ? 1 : 2);
}

std::string aimInWords(const Aim& aim, const std::string& unit) {
    const std::string sign = aim.bound == Aim::Bound::AtLeast ? ">= " : "<= ";
    return aim.of == Aim::Of::Ratio ? sign + fmt::format("{:.2f}", aim.limit)
                                    : sign + number(aim.limit) + " " + unit;
}

std::string verdict(const Figure& figure) {
    const std::optional<bool> met = figure.met();
    return !met ? "" : *met ? "met" : "MISSED";
}

std::vector<std::string> rowOf(const Figure& figure) {
    std::string references;
    for (const Reference& reference : figure.references)
        references +=
            (references.empty() ? "" : ", ") + reference.name + " " + number(reference.value);
    std::string ratio;
    if (figure.ratio)
        ratio = fmt::format("{:.3f} ({:.3f}-{:.3f})", figure.ratio->median, figure.ratio->low,
                            figure.ratio->high);
    return {figure.name,
            number(figure.value) + " " + figure.unit,
            references,
            ratio,
            figure.aim ? aimInWords(*figure.aim, figure.unit) : "",
            verdict(figure)};
}

nlohmann::ordered_json jsonOf(const Figure& figure) {
    nlohmann::ordered_json json = {
        {"name", figure.name}, {"unit", figure.unit}, {"value", figure.value}};
    for (const Reference& reference : figure.references)
        json["references"][reference.name] = reference.value;
    if (figure.ratio)
        json["ratio"] = {{"median", figure.ratio->median},
                         {"low_quartile", figure.ratio->low},
                         {"high_quartile", figure.ratio->high}};
    if (figure.aim) {
        json["aim"] = {
            {"of", figure.aim->of == Aim::Of::Ratio ? "ratio" : "value"},
            {figure.aim->bound == Aim::Bound::AtLeast ? "at_least" : "at_most", figure.aim->limit},
            {"met", *figure.met()}};
    }
    if (!figure.note.empty())
        json["note"] = figure.note;
    return json;
}

std::string processorModel() {
    std::ifstream in("/proc/cpuinfo");
    std::string line;
    while (std::getline(in, line)) {
        const std::size_t colon = line.find(": ");
        if (line.starts_with("model name") && colon != std::string::npos)
            return line.substr(colon + 2);
    }
    return "unknown processor";
}

}  // namespace

std::optional<bool> Figure::met() const {
    if (!aim || (aim->of == Aim::Of::Ratio && !ratio))
        return std::nullopt;
    const double judged = aim->of == Aim::Of::Ratio ? ratio->median : value;
    return aim->bound == Aim::Bound::AtLeast ? judged >= aim->limit : judged <= aim->limit;
}

void Report::add(std::vector<Figure> more) {
    std::move(more.begin(), more.end(), std::back_inserter(figures));
}

void printAsTable(const Report& report, std::ostream& out) {
    std::vector<std::vector<std::string>> rows = {
        {"figure", "measured", "beside it", "ratio (quartiles)", "aim", ""}};
    for (const Figure& figure : report.figures)
        rows.push_back(rowOf(figure));
    std::vector<std::size_t> widths(rows.front().size(), 0);
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i)
            line += fmt::format("{:<{}}  ", row[i], widths[i]);
        out << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
    }
    for (const Figure& figure : report.figures) {
        if (!figure.note.empty())
            out << figure.name << ": " << figure.note << '\n';
    }
    out << fmt::format("{}, load {:.1f} before and {:.1f} after\n", report.machine,
                       report.loadBefore, report.loadAfter);
}

void printAsJson(const Report& report, std::ostream& out) {
    nlohmann::ordered_json json = {{"machine", report.machine},
                                   {"load_before", report.loadBefore},
                                   {"load_after", report.loadAfter},
                                   {"figures", nlohmann::ordered_json::array()}};
    for (const Figure& figure : report.figures)
        json["figures"].push_back(jsonOf(figure));
    out << json.dump(2) << '\n';
}

std::string machineInWords() {
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long pageBytes = ::sysconf(_SC_PAGESIZE);
    constexpr long gib = 1024L * 1024 * 1024;
    return fmt::format("{} cores of {}, {} GiB", ::sysconf(_SC_NPROCESSORS_ONLN), processorModel(),
                       (pages * pageBytes + gib / 2) / gib);
}

double loadOfMachine() {
    double load = 0;
    return ::getloadavg(&load, 1) == 1 ? load : 0;
}

}  // namespace kelp::bench
