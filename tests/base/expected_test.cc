#include "base/expected.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace quillon {
namespace {

enum class Refusal { kBusy };

// What a function returns reads as what it is: values convert to a success,
// the error type alone to a failure.
static_assert(std::is_convertible_v<std::string, Expected<std::string>>);
static_assert(std::is_convertible_v<const char*, Expected<std::optional<std::string>>>);
static_assert(std::is_convertible_v<Failure, Expected<std::string>>);
static_assert(std::is_convertible_v<Refusal, Expected<int, Refusal>>);
static_assert(!std::is_convertible_v<Refusal, Expected<void>>);
static_assert(!std::is_convertible_v<std::string, Expected<void>>);

TEST(ExpectedTest, HoldsEitherTheValueOrTheFailure) {
  const Expected<std::string> value = std::string("text");
  const Expected<std::string> failure = Failure{"why"};
  ASSERT_TRUE(value.hasValue());
  EXPECT_EQ(*value, "text");
  ASSERT_FALSE(failure.hasValue());
  EXPECT_EQ(failure.error().reason, "why");

  const Expected<void, Refusal> done;
  const Expected<void, Refusal> refused = Refusal::kBusy;
  EXPECT_TRUE(done.hasValue());
  ASSERT_FALSE(refused.hasValue());
  EXPECT_EQ(refused.error(), Refusal::kBusy);
}

// Reading the kind an Expected does not hold is a bug in our code: it stops
// there, saying where, in every build type.
TEST(ExpectedDeathTest, ReadingTheOtherKindFailsACheck) {
  const Expected<std::string> value = std::string("text");
  const Expected<std::string> failure = Failure{"why"};
  const Expected<void> done;
  EXPECT_DEATH((void)failure.value(), "CHECK failed: hasValue\\(\\) at .*expected.h");
  EXPECT_DEATH((void)*failure, "CHECK failed: hasValue\\(\\)");
  EXPECT_DEATH((void)value.error(), "CHECK failed: !hasValue\\(\\)");
  EXPECT_DEATH((void)done.error(), "CHECK failed: !hasValue\\(\\)");
}

}  // namespace
}  // namespace quillon
