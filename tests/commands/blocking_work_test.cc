// The order and the turns of BlockingWork, over workers that the test drives
// by hand: which jobs are under way, and in which order the answers come.
#include "commands/blocking_work.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

// Posted work waits until the test completes it, work and reply together.
class ManualWorkers final : public BackgroundWork {
 public:
  void post(Work work, Reply reply) override { jobs_.push_back(Job{std::move(work), std::move(reply)}); }
  void finish() override {}

  std::size_t underWay() const { return jobs_.size(); }
  // The job posted first among those under way.
  void completeOldest() {
    Job job = std::move(jobs_.front());
    jobs_.erase(jobs_.begin());
    std::move(job.work)();
    std::move(job.reply)();
  }

 private:
  struct Job {
    Work work;
    Reply reply;
  };
  std::vector<Job> jobs_;
};

// Callers named by a letter, their calls by the letter and a number ("A1").
// A call's job answers its label; an error answer is recorded with its code
// and message.
class Script {
 public:
  explicit Script(std::size_t mostAtOnce) : work(workers, mostAtOnce) {}
  // Every call answered before the answers go.
  ~Script() {
    work.end();
    while (workers.underWay() > 0) workers.completeOldest();
  }

  // "A1" calls, "*" completes the oldest job under way, "=N" checks that N
  // jobs are under way.
  void play(const std::string& script) {
    std::istringstream steps(script);
    for (std::string step; steps >> step;) {
      if (step == "*") {
        workers.completeOldest();
      } else if (step.front() == '=') {
        EXPECT_EQ(workers.underWay(), std::stoul(step.substr(1))) << "after " << answers.size() << " answers";
      } else {
        call(step);
      }
    }
  }

  void leave(const std::string& caller) { owners.erase(caller); }

  std::vector<std::string> ran;
  std::vector<std::string> answers;
  ManualWorkers workers;
  BlockingWork work;

 private:
  void call(const std::string& label) {
    auto& owner = owners[label.substr(0, 1)];
    if (!owner) owner = std::make_shared<int>();
    const auto record = [this, label](ChannelReply reply) {
      answers.push_back(reply.isSuccess() ? label : label + ": " + reply.error().code + " " + reply.error().message);
    };
    work.run(ReplyCallback(record, CallerKey(owner)),
             [this, label] {
               ran.push_back(label);
               return ChannelReply::success(label);
             });
  }

  std::map<std::string, std::shared_ptr<int>> owners;
};

TEST(BlockingWorkTest, OneCallerAtATimeInOrderCallersSideBySideAndByTurns) {
  struct Case {
    const char* name;
    std::size_t mostAtOnce;
    const char* script;
    std::vector<std::string> answers;
  };
  const Case cases[] = {
      {"one caller's calls: one at a time, in order", 4, "A1 A2 A3 =1 * =1 * =1 * =0", {"A1", "A2", "A3"}},
      {"other callers beside it, up to the limit", 4, "A1 A2 B1 C1 =3 * * * =1 * =0", {"A1", "B1", "C1", "A2"}},
      // A's turn over, it goes behind C, which was waiting; then B's place goes to A.
      {"at the limit, callers take turns", 2, "A1 A2 A3 B1 C1 =2 * =2 * =2 * * * =0", {"A1", "B1", "C1", "A2", "A3"}},
      // A keeps calling: its second call does not pass B's, sent while A's first ran.
      {"a caller that keeps calling passes nobody", 1, "A1 B1 * A2 * * =0", {"A1", "B1", "A2"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Script script(c.mostAtOnce);
    script.play(c.script);
    EXPECT_EQ(script.answers, c.answers);
  }
}

TEST(BlockingWorkTest, TheWaitingJobsOfACallerThatLeftArePassedOver) {
  Script script(1);
  script.play("A1 A2 B1");
  script.leave("A");
  script.play("* * =0");
  EXPECT_THAT(script.ran, ElementsAre("A1", "B1"));
  EXPECT_THAT(script.answers, ElementsAre("A1", "B1", "A2: UNAVAILABLE The caller has left"));
}

TEST(BlockingWorkTest, ACallerWithTooManyJobsWaitingIsRefusedAtOnce) {
  Script script(1);
  // One running and the 256 that may wait.
  for (int call = 0; call <= 256; ++call) script.play("A" + std::to_string(call));
  script.play("A+ =1");
  EXPECT_THAT(script.answers, ElementsAre("A+: UNAVAILABLE Too many calls of this caller are waiting"));
  script.play("B1");  // another caller still gets in line
  EXPECT_EQ(script.answers.size(), 1u);
}

// The host's end: what waits is answered at once, what runs when it is done,
// and nothing starts any more.
TEST(BlockingWorkTest, AtTheEndWaitingJobsAreRefusedAndRunningOnesStillAnswered) {
  Script script(1);
  script.play("A1 A2 B1");
  script.work.end();
  EXPECT_THAT(script.answers,
              UnorderedElementsAre("A2: UNAVAILABLE The host is ending", "B1: UNAVAILABLE The host is ending"));
  script.play("* =0 C1 =0");
  EXPECT_THAT(script.ran, ElementsAre("A1"));
  EXPECT_EQ(script.answers.size(), 4u);
  EXPECT_EQ(script.answers[2], "A1");
  EXPECT_EQ(script.answers[3], "C1: UNAVAILABLE The host is ending");
}

// Workers that hand a result back on their own thread, instead of on the main
// loop, would race every caller's state: the first such answer stops the host.
TEST(BlockingWorkDeathTest, WorkOffTheMainThreadFailsACheck) {
  EXPECT_DEATH(
      {
        Script script(1);
        script.play("A1");
        std::thread([&script] { script.workers.completeOldest(); }).join();
      },
      "CHECK failed: onMainThread\\(\\)");
  EXPECT_DEATH(
      {
        Script script(1);
        std::thread([&script] { script.play("A1"); }).join();
      },
      "CHECK failed: onMainThread\\(\\)");
}

}  // namespace
}  // namespace quillon
