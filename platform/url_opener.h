// UrlOpener: hands a URL to the desktop's default application for its scheme.
//
// Contract: main thread only. canOpen() answers whether some application is
// registered for the URL's scheme, without starting anything; open() starts it,
// or fails with the desktop's reason.
#pragma once

#include <string>

#include "base/expected.h"

namespace quillon {

class UrlOpener {
 public:
  virtual ~UrlOpener() = default;

  virtual bool canOpen(const std::string& url) const = 0;
  virtual Expected<void> open(const std::string& url) = 0;
};

}  // namespace quillon
