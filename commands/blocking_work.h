// BlockingWork: where the commands that must wait for something (a tool run, a
// scan of the machine's processes or windows, the certificate store) do that
// part of their work: beside the main loop, so that no call waits for another
// caller's, and the main loop for nobody.
//
// A call's job runs on a worker and gives the call's answer, which is sent on
// the main thread. The jobs of one caller (the connection a call came on, its
// CallerKey) run one at a time, in the order the calls came, so that a caller
// that kills a process and then asks whether it is alive sees the kill. The
// jobs of different callers run side by side, at most `mostAtOnce` at a time;
// when more callers wait, they take turns: a caller whose job has run goes
// behind every caller already waiting. A caller's calls that need no job are
// answered at once by their commands and may pass its waiting ones.
//
// A caller that has left before its job's turn has its jobs passed over (their
// answers would have nowhere to go), and a caller that already has 256 jobs
// waiting gets "UNAVAILABLE" for the next at once, so that what waits stays
// bounded. end() is for the host's end: the jobs waiting are answered
// "UNAVAILABLE" and no job starts any more; those running are still answered
// when they finish.
//
// Contract: main thread only (checked). The workers must run no reply of this
// object's after it is gone: finish them first (BackgroundWork::finish()).
#pragma once

#include <cstddef>
#include <deque>
#include <map>

#include "base/once_callback.h"
#include "channel/caller_key.h"
#include "channel/reply_callback.h"
#include "platform/background_work.h"

namespace quillon {

class BlockingWork {
 public:
  // A call's work, run on a worker: its answer.
  using Job = OnceCallback<ChannelReply()>;

  BlockingWork(BackgroundWork& workers, std::size_t mostAtOnce);
  BlockingWork(const BlockingWork&) = delete;
  BlockingWork& operator=(const BlockingWork&) = delete;
  ~BlockingWork() { end(); }

  // Runs `job` for the caller of `reply` in its turn and answers `reply` with its result.
  void run(ReplyCallback reply, Job job);
  void end();

 private:
  struct Call {
    ReplyCallback reply;
    Job job;
  };
  struct Caller {
    std::deque<Call> waiting;
    bool running = false;
  };
  using Callers = std::map<CallerKey, Caller, CallerKey::Less>;

  static constexpr std::size_t kMostWaiting = 256;

  // Starts the jobs of the callers whose turn it is, while there is room.
  void startWhatCan();
  void start(Callers::iterator caller);
  void finished(const CallerKey& key, ReplyCallback reply, ChannelReply answer);

  BackgroundWork& workers_;
  const std::size_t mostAtOnce_;
  std::size_t running_ = 0;
  Callers callers_;
  // The callers with jobs waiting and none running, in the order of their turns.
  std::deque<CallerKey> turns_;
  bool starting_ = false;
  bool ended_ = false;
};

}  // namespace quillon
