#include "session/hashing.h"

#include <fmt/format.h>
#include <kelp/users/user_database.h>

#include <chrono>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "harness/scratch_dir.h"
#include "password_hash.h"

namespace kelp::bench {

namespace {

constexpr kelp::users::HashCost kSmallest{8, 1};
constexpr const char* kUser = "operator";
constexpr const char* kPassword = "open sesame 7";
constexpr std::size_t kSamplesMin = 20;
constexpr std::chrono::seconds kTimeMin{1};

template <class Action>
Figure measure(std::string name, Action action) {
    std::vector<double> microseconds;
    const auto end = std::chrono::steady_clock::now() + kTimeMin;
    while (microseconds.size() < kSamplesMin || std::chrono::steady_clock::now() < end) {
        const auto begin = std::chrono::steady_clock::now();
        action();
        const std::chrono::duration<double, std::micro> time =
            std::chrono::steady_clock::now() - begin;
        microseconds.push_back(time.count());
    }
    Figure figure;
    figure.name = std::move(name);
    figure.unit = "us";
    figure.value = medianOf(microseconds);
    return figure;
}

void require(bool matches) {
    if (!matches)
        throw std::runtime_error("a right password was refused");
}

Figure measureHash(const std::string& which, const kelp::users::HashCost& cost) {
    const std::string hash = kelp::users::hashOfPassword(kPassword, cost);
    return measure(
        fmt::format("password hash, {} ({} KiB, passes {})", which, cost.memoryKib, cost.passes),
        [&] { require(kelp::users::isPasswordOf(hash, kPassword)); });
}

}  // namespace

std::vector<Figure> measureHashing() {
    std::cerr << "password hashing\n";
    const test::ScratchDir scratch;
    const std::filesystem::path file = scratch / "users.db";
    kelp::users::UserDatabase(file).add(kUser, kPassword, kSmallest);
    return {measureHash("smallest", kSmallest), measureHash("default", kelp::users::HashCost{}),
            measure("password check with user database, smallest hash", [&] {
                kelp::users::UserDatabase database(file,
                                                   kelp::users::UserDatabase::Missing::IsAnError);
                require(database.passwordMatches(kUser, kPassword, kSmallest));
            })};
}

}  // namespace kelp::bench
