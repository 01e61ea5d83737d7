// The host's entry: serve the interface link on the GLib main loop until asked to stop.
#include <glib-unix.h>
#include <glib.h>

#include <csignal>
#include <cstdio>
#include <memory>

#include "app/host_services.h"
#include "app/native_command_channel.h"
#include "embedding/engine.h"

namespace {

gboolean quitLoop(gpointer loop) {
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
  return G_SOURCE_CONTINUE;
}

// SIGINT and SIGTERM end the main loop for as long as this object lives.
class StopSignals {
 public:
  explicit StopSignals(GMainLoop* loop)
      : interrupt_(g_unix_signal_add(SIGINT, quitLoop, loop)), terminate_(g_unix_signal_add(SIGTERM, quitLoop, loop)) {}
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;
  ~StopSignals() {
    g_source_remove(interrupt_);
    g_source_remove(terminate_);
  }

 private:
  guint interrupt_;
  guint terminate_;
};

}  // namespace

int main() {
  std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> loop(g_main_loop_new(nullptr, FALSE), g_main_loop_unref);
  // Before the socket appears: a client that sees it may stop the host at once.
  const StopSignals stopSignals(loop.get());
  quillon::Engine engine;
  if (const auto failure = engine.start()) {
    std::fprintf(stderr, "quillon-host: %s\n", failure->c_str());
    return 1;
  }
  quillon::HostServices services;
  // The process services are not built yet; their commands answer without them.
  const quillon::NativeCommandChannel commands(engine.binaryMessenger(), services.commandServices({}));

  g_main_loop_run(loop.get());
  return 0;
}
