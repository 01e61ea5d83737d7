// NativeCommandChannel: the native command channel opened on a messenger, with
// the CommandDispatcher of the whole catalogue installed as its handler.
//
// Contract: the messenger and the services must outlive the channel. The
// handler stays installed on the messenger for the life of this object; the
// destructor removes it, after which calls answer not-implemented.
#pragma once

#include "commands/command_catalogue.h"
#include "commands/command_dispatcher.h"
#include "embedding/method_channel.h"

namespace quillon {

class NativeCommandChannel {
 public:
  NativeCommandChannel(BinaryMessenger& messenger, const CommandServices& services);
  NativeCommandChannel(const NativeCommandChannel&) = delete;
  NativeCommandChannel& operator=(const NativeCommandChannel&) = delete;
  ~NativeCommandChannel();

 private:
  CommandDispatcher dispatcher_;
  MethodChannel channel_;
};

}  // namespace quillon
