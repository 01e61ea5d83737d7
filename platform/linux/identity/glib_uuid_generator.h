#pragma once

#include "platform/uuid_generator.h"

namespace quillon {

// Random (version 4) UUIDs from GLib, in upper case.
class GlibUuidGenerator final : public UuidGenerator {
 public:
  std::string newUuid() override;
};

}  // namespace quillon
