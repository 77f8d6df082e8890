#pragma once

#include <kelp/inventory/transfer.h>

#include <cstdint>
#include <iterator>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace kelp::inventory {

/// Counts the problems of an import and keeps the first ones, in the order of the files and their
/// lines.
class Problems {
  public:
    /// Set the file of the problems that are added from now on.
    void setFile(std::size_t number, std::string name) {
        number_ = number;
        name_ = std::move(name);
    }
    void add(std::uint64_t line, const std::string& key, const std::string& what) {
        first_.emplace(std::tuple(number_, line, count_), ImportProblem{name_, line, key, what});
        ++count_;
        if (first_.size() > ImportResult::kProblemsKept)
            first_.erase(std::prev(first_.end()));
    }
    std::uint64_t count() const { return count_; }
    std::vector<ImportProblem> first() const {
        std::vector<ImportProblem> problems;
        for (const auto& [place, problem] : first_)
            problems.push_back(problem);
        return problems;
    }

  private:
    std::size_t number_ = 0;
    std::string name_;
    std::uint64_t count_ = 0;
    std::map<std::tuple<std::size_t, std::uint64_t, std::uint64_t>, ImportProblem> first_;
};

}  // namespace kelp::inventory
