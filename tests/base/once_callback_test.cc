#include "base/once_callback.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace quillon {
namespace {

using Answers = std::vector<std::string>;
using Answer = OnceCallback<void(std::string)>;

Answer recordingInto(Answers& answers, Answer::IfDropped ifDropped = nullptr) {
  return Answer([&answers](std::string text) { answers.push_back(std::move(text)); }, ifDropped);
}

void answerDropped(Answer unrun) { std::move(unrun)("dropped"); }

TEST(OnceCallbackTest, RunsOnceFromWhoeverHoldsItLast) {
  Answers answers;
  Answer first = recordingInto(answers, &answerDropped);
  Answer second(std::move(first));
  Answer third;
  third = std::move(second);
  EXPECT_FALSE(first);
  EXPECT_FALSE(second);
  ASSERT_TRUE(third);
  std::move(third)("answered");
  EXPECT_FALSE(third);
  EXPECT_EQ(answers, Answers{"answered"});
}

TEST(OnceCallbackTest, DroppedUnrunAnswersByItsRuleOnlyWhenItHasOne) {
  Answers answers;
  { Answer withRule = recordingInto(answers, &answerDropped); }
  { Answer withoutRule = recordingInto(answers); }
  {
    Answer run = recordingInto(answers, &answerDropped);
    std::move(run)("answered");
  }
  EXPECT_EQ(answers, (Answers{"dropped", "answered"}));
}

TEST(OnceCallbackTest, AssigningOverAnUnrunCallbackDropsIt) {
  Answers overwritten;
  Answers kept;
  Answer callback = recordingInto(overwritten, &answerDropped);
  callback = recordingInto(kept);
  EXPECT_EQ(overwritten, Answers{"dropped"});
  std::move(callback)("answered");
  EXPECT_EQ(kept, Answers{"answered"});
}

TEST(OnceCallbackTest, CarriesMoveOnlyState) {
  std::string seen;
  OnceCallback<void()> job([owned = std::make_unique<std::string>("owned"), &seen] { seen = *owned; });
  std::move(job)();
  EXPECT_EQ(seen, "owned");
}

TEST(OnceCallbackDeathTest, RunningASpentCallbackAborts) {
  EXPECT_DEATH(
      {
        Answers answers;
        Answer callback = recordingInto(answers);
        std::move(callback)("once");
        std::move(callback)("twice");  // deliberate reuse of a spent callback
      },
      "CHECK failed: callable_ != nullptr at .*once_callback.h");
}

}  // namespace
}  // namespace quillon
