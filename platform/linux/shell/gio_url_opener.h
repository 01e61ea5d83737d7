// The desktop's URL handlers through GIO: the default application for a URI
// scheme, as the desktop's MIME associations name it.
#pragma once

#include "platform/url_opener.h"

namespace quillon {

class GioUrlOpener final : public UrlOpener {
 public:
  bool canOpen(const std::string& url) const override;
  // Starts the handler and does not wait for it.
  Expected<void> open(const std::string& url) override;
};

}  // namespace quillon
