// UuidGenerator: fresh random UUIDs.
#pragma once

#include <string>

namespace quillon {

class UuidGenerator {
 public:
  virtual ~UuidGenerator() = default;
  // A new random UUID in its canonical 36-character form, upper-case hexadecimal.
  virtual std::string newUuid() = 0;
};

}  // namespace quillon
