#pragma once

#include <kelp/agent/list_batches.h>
#include <mtnm/globaldefs.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace kelp::test {

/// A source of names "1", "2", ... for iterators.
class NumberedNames final : public NS_KELPCORBA::ListSource<globaldefs::NamingAttributesList_T> {
  public:
    explicit NumberedNames(CORBA::ULong count) : count_(count) {}

    /// Encoded size of each entry, in bytes.
    std::size_t size = 100;
    /// Maximum number of entries that one read() returns.
    CORBA::ULong most = 1000000;
    /// Reading the entry with this number calls `fail`; 0 for no failure.
    CORBA::ULong failsAt = 0;
    std::function<void()> fail = [] { throw std::runtime_error("the database is gone"); };
    /// Kept alive as long as the list.
    std::shared_ptr<const void> held;
    /// Number of entries at the end of the list that turn out to have been deleted.
    CORBA::ULong gone = 0;
    /// Whether entries that were read can be read again.
    bool canGoBack = true;

    CORBA::ULong left() const override { return count_ - read_; }
    void read(CORBA::ULong wanted, globaldefs::NamingAttributesList_T& entries) override {
        for (CORBA::ULong i = 0; i < std::min(wanted, most) && read_ < count_; ++i) {
            if (read_ + gone >= count_) {
                read_ = count_;
                return;
            }
            if (++read_ == failsAt)
                fail();
            const CORBA::ULong at = entries.length();
            entries.length(at + 1);
            entries[at].length(1);
            entries[at][0].name = CORBA::string_dup("Number");
            entries[at][0].value = CORBA::string_dup(std::to_string(read_).c_str());
        }
    }
    bool keepWayBack(bool keep) override {
        wayBack_ = keep ? read_ : 0;
        return canGoBack;
    }
    void goBack() override { read_ = wayBack_; }
    std::size_t encodedSize(const globaldefs::NamingAttributesList_T&,
                            CORBA::ULong) const override {
        return size;
    }

  private:
    const CORBA::ULong count_;
    CORBA::ULong read_ = 0;
    CORBA::ULong wayBack_ = 0;
};

/// Return the number of each name.
inline std::vector<int> numbersOf(const globaldefs::NamingAttributesList_T& names) {
    std::vector<int> numbers;
    for (CORBA::ULong i = 0; i < names.length(); ++i)
        numbers.push_back(std::stoi(names[i][0].value.in()));
    return numbers;
}

/// Return first, first + 1, ... last.
inline std::vector<int> numbers(int first, int last) {
    std::vector<int> all;
    for (int i = first; i <= last; ++i)
        all.push_back(i);
    return all;
}

}  // namespace kelp::test
