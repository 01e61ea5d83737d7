// MainLoop: the application's main loop, which delivers channel messages and
// desktop events on the main thread until the application ends.
//
// Contract: run() once, on the main thread; it returns the status given to the
// first quit(). quit() may be called any number of times, also before run():
// later calls change nothing.
#pragma once

namespace quillon {

class MainLoop {
 public:
  virtual ~MainLoop() = default;

  virtual int run() = 0;
  virtual void quit(int status) = 0;
};

}  // namespace quillon
