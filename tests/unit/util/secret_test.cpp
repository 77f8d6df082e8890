#include <gtest/gtest.h>
#include <kelp/util/secret.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

namespace kelp::test {
namespace {

using util::Secret;

constexpr const char* kShort = "short pw";
constexpr const char* kLong = "a password that is too long to lie inside a string";

/// Memory for one secret that the test can read after the secret's end.
class Place {
  public:
    template <class... Arguments>
    Secret& make(Arguments&&... arguments) {
        return *(secret_ = new (memory_) Secret(std::forward<Arguments>(arguments)...));
    }
    void end() { std::exchange(secret_, nullptr)->~Secret(); }
    bool contains(std::string_view text) const {
        const std::string_view all(reinterpret_cast<const char*>(memory_), sizeof memory_);
        return all.find(text) != std::string_view::npos;
    }
    ~Place() {
        if (secret_ != nullptr)
            end();
    }
    Place() = default;
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

  private:
    alignas(Secret) unsigned char memory_[sizeof(Secret)] = {};
    Secret* secret_ = nullptr;
};

TEST(Wiping, OverwritesAllThatATextsBufferHolds) {
    std::string text = kLong;
    const std::size_t length = text.size();
    const char* const buffer = text.data();
    text.resize(3);
    util::wipe(text);
    EXPECT_TRUE(text.empty());
    ASSERT_EQ(text.data(), buffer);
    // the buffer still belongs to the string
    EXPECT_TRUE(std::all_of(buffer, buffer + length, [](char each) { return each == '\0'; }));
}

class SecretOfLength : public testing::TestWithParam<const char*> {};

TEST_P(SecretOfLength, HoldsItsText) {
    EXPECT_EQ(Secret(GetParam()).text(), GetParam());
    Secret typed;
    for (const char each : std::string_view(GetParam()))
        typed.append(each);
    EXPECT_EQ(typed.text(), GetParam());
    const Secret moved(std::move(typed));
    EXPECT_EQ(moved.text(), GetParam());
}

TEST_P(SecretOfLength, LeavesNothingBehindWhenItIsMovedOrEnds) {
    Place first;
    Place second;
    Secret& made = first.make(GetParam());
    EXPECT_EQ(second.make(std::move(made)).text(), GetParam());
    EXPECT_FALSE(first.contains(GetParam()));
    first.end();
    second.end();
    EXPECT_FALSE(first.contains(GetParam()));
    EXPECT_FALSE(second.contains(GetParam()));
}

TEST_P(SecretOfLength, WipesTheTextThatItIsMadeOf) {
    std::string source = GetParam();
    const char* const buffer = source.data();
    const Secret secret(source);
    EXPECT_EQ(secret.text(), GetParam());
    EXPECT_TRUE(source.empty());
    ASSERT_EQ(source.data(), buffer);
    EXPECT_EQ(*buffer, '\0');
}

INSTANTIATE_TEST_SUITE_P(Each, SecretOfLength, testing::Values(kShort, kLong),
                         [](const auto& one) { return one.index == 0 ? "Short" : "Long"; });

}  // namespace
}  // namespace kelp::test
