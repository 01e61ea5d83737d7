// TerminationSignals: the system's requests to end the application, SIGTERM
// (shutdown, `kill`) and SIGHUP (log-out, the terminal going away), delivered
// as termination requests on the GLib main loop instead of ending the process.
// SIGINT keeps its usual meaning: the process ends at once.
//
// Contract: construct and destroy on the main thread; `request` runs there,
// once per signal received, while this object lives.
#pragma once

#include <glib.h>

#include <array>
#include <functional>

namespace quillon {

class TerminationSignals {
 public:
  explicit TerminationSignals(std::function<void()> request);
  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;
  ~TerminationSignals();

 private:
  static gboolean deliver(gpointer self);

  std::function<void()> request_;
  std::array<guint, 2> sources_{};
};

}  // namespace quillon
