// InstanceChannel: the host's own channel "quillon.app/instance", through which
// a second launch of the application hands itself over to the host that runs
// already, instead of starting another one. Its one method is "activate", with
// the arguments {"startupId": the launch's desktop startup notification, or ""}
// (null arguments are a launch without one); the running host brings its main
// window forward when the interface has shown it, and answers whether it did.
// An id beyond kStartupIdLimit (commands/argument_limits.h), which would reach
// the X server, is refused with "INVALID_ARGUMENT".
//
// Contract: main thread only. The messenger and the application must outlive
// the channel; the destructor removes its handler. Every call is answered once.
#pragma once

#include "app/application.h"
#include "embedding/method_channel.h"

namespace quillon {

class InstanceChannel {
 public:
  static constexpr char kName[] = "quillon.app/instance";

  InstanceChannel(BinaryMessenger& messenger, Application& application);
  InstanceChannel(const InstanceChannel&) = delete;
  InstanceChannel& operator=(const InstanceChannel&) = delete;
  ~InstanceChannel();

 private:
  MethodChannel channel_;
};

}  // namespace quillon
