// ViewEngine: the engine as the view controller sees it: something that owns a
// binary messenger for as long as it lives. The host hands it the interface
// link's engine; tests hand it a fake messenger.
#pragma once

#include "embedding/binary_messenger.h"

namespace quillon {

class ViewEngine {
 public:
  virtual ~ViewEngine() = default;
  virtual BinaryMessenger& binaryMessenger() = 0;
};

}  // namespace quillon
