// MethodChannel: a named channel on a BinaryMessenger that speaks the standard
// method codec.
//
// Contract: the handler is called on the main thread, once per incoming call,
// and must answer through its ReplyCallback exactly once, which carries the
// message's caller key. A payload that does
// not decode as a method call never reaches it: the channel answers it with the
// error "BAD_MESSAGE" and a message saying what was wrong. Each call that
// decodes is told to the messenger's observer, when it has one, and so is its
// answer (see LinkObserver). invokeMethod() sends a call to every connected
// interface without asking for a reply. The channel does not own the
// messenger, which must outlive it; the handler is registered with the
// messenger under the channel's name and stays there until replaced, even when
// this object goes away.
#pragma once

#include <functional>
#include <string>

#include "channel/channel_value.h"
#include "channel/method_call.h"
#include "channel/reply_callback.h"
#include "embedding/binary_messenger.h"

namespace quillon {

class MethodChannel {
 public:
  using MethodCallHandler = std::function<void(const MethodCall& call, ReplyCallback reply)>;

  MethodChannel(BinaryMessenger& messenger, std::string name);
  MethodChannel(const MethodChannel&) = delete;
  MethodChannel& operator=(const MethodChannel&) = delete;

  const std::string& name() const { return name_; }

  // Replaces the channel's handler; an empty handler removes it, and calls are
  // then answered not-implemented.
  void setMethodCallHandler(MethodCallHandler handler);

  // Sends `method` with `arguments`; no reply is wanted.
  void invokeMethod(const std::string& method, ChannelValue arguments = {});

 private:
  BinaryMessenger& messenger_;
  std::string name_;
};

}  // namespace quillon
