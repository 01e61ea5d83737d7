#include "platform/linux/shell/termination_signals.h"

#include <glib-unix.h>

#include <csignal>

namespace quillon {

TerminationSignals::TerminationSignals(std::function<void()> request) : request_(std::move(request)) {
  sources_ = {g_unix_signal_add(SIGTERM, &TerminationSignals::deliver, this),
              g_unix_signal_add(SIGHUP, &TerminationSignals::deliver, this)};
}

TerminationSignals::~TerminationSignals() {
  for (guint source : sources_) g_source_remove(source);
}

gboolean TerminationSignals::deliver(gpointer self) {
  static_cast<TerminationSignals*>(self)->request_();
  return G_SOURCE_CONTINUE;
}

}  // namespace quillon
