// LinkViewEngine: the view controller's engine on the running host, the
// interface link's Engine. Destroying it closes every connection cleanly.
#pragma once

#include "app/view_engine.h"
#include "embedding/engine.h"

namespace quillon {

class LinkViewEngine final : public ViewEngine {
 public:
  Engine& engine() { return engine_; }
  BinaryMessenger& binaryMessenger() override { return engine_.binaryMessenger(); }

 private:
  Engine engine_;
};

}  // namespace quillon
