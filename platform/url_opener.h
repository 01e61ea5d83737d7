// UrlOpener: hands a URL to the desktop's default application for its scheme.
//
// Contract: main thread only. canOpen() answers whether some application is
// registered for the URL's scheme, without starting anything; open() starts it
// and answers nothing on success, or the desktop's reason on failure.
#pragma once

#include <optional>
#include <string>

namespace quillon {

class UrlOpener {
 public:
  virtual ~UrlOpener() = default;

  virtual bool canOpen(const std::string& url) const = 0;
  virtual std::optional<std::string> open(const std::string& url) = 0;
};

}  // namespace quillon
