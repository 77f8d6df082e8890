// Random histories of a change log against a model. A failure prints the seed; RC_PARAMS="seed=..."
// repeats it.

#include <rapidcheck.h>

#include <algorithm>
#include <map>
#include <optional>

#include "log_fixture.h"

namespace kelp::test {
namespace {

/// A log as it should be.
struct Model {
    Position next = 0;
    std::map<Position, NewRecord> records;
    Position mark = 0;

    std::vector<Appended> append(const std::vector<NewRecord>& added) {
        std::vector<Appended> results;
        for (const NewRecord& record : added) {
            const auto known = std::find_if(records.begin(), records.end(), [&](const auto& each) {
                return !record.key.empty() && each.second.key == record.key;
            });
            if (known == records.end())
                records[next++] = record;
            results.push_back(known == records.end() ? Appended{next - 1, false}
                                                     : Appended{known->first, true});
        }
        return results;
    }
    void truncateBelow(Position position) {
        records.erase(records.begin(), records.lower_bound(position));
    }
    Position first() const { return records.empty() ? next : records.begin()->first; }
    std::vector<Record> read(Position after) const {
        std::vector<Record> all;
        for (auto each = records.upper_bound(after); each != records.end(); ++each)
            all.push_back({each->first, each->second.content});
        return all;
    }
};

/// Records with few different keys, so that some repeat.
rc::Gen<std::vector<NewRecord>> newRecords() {
    return rc::gen::container<std::vector<NewRecord>>(rc::gen::apply(
        [](int key, std::string content) {
            return NewRecord{key == 0 ? "" : std::to_string(key), std::move(content)};
        },
        rc::gen::inRange(0, 12), rc::gen::arbitrary<std::string>()));
}

/// A log and its model.
class Pair {
  public:
    Pair() : log_(open()) { model_.next = log_->last() + 1; }

    void step() {
        switch (*rc::gen::weightedElement<int>({{6, 0}, {1, 1}, {1, 2}, {1, 3}})) {
            case 0: {
                const auto records = *newRecords();
                RC_ASSERT(log_->append(records) == model_.append(records));
                break;
            }
            case 1: {
                const Position position = somePosition();
                log_->truncateBelow(position);
                model_.truncateBelow(position);
                break;
            }
            case 2:
                model_.mark = std::min(somePosition(), model_.next - 1);
                log_->setMark("reader", model_.mark);
                break;
            default:
                log_.reset();
                log_ = open();
        }
        compare();
    }

  private:
    std::unique_ptr<ChangeLog> open() const {
        return changelog::openSqliteLog({.file = folder_ / "changes.db", .syncEveryCommit = false});
    }
    /// From just below the oldest record to just above the newest.
    Position somePosition() const {
        return *rc::gen::inRange<Position>(model_.first() - 1, model_.next + 2);
    }
    void compare() {
        RC_ASSERT(log_->first() == model_.first());
        RC_ASSERT(log_->last() == model_.next - 1);
        RC_ASSERT(log_->mark("reader") == model_.mark);
        const Position after = somePosition();
        RC_ASSERT(log_->read(after, kNoLimit, kNoLimit) == model_.read(after));
        RC_ASSERT(log_->read(0, kNoLimit, kNoLimit) == model_.read(0));
    }

    const TemporaryDirectory folder_;
    std::unique_ptr<ChangeLog> log_;
    Model model_;
};

TEST(ChangeLogHistory, IsThatOfTheModel) {
    EXPECT_TRUE(rc::check([] {
        Pair pair;
        for (int steps = *rc::gen::inRange(1, 30); steps > 0; --steps)
            pair.step();
    }));
}

}  // namespace
}  // namespace kelp::test
