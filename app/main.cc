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

}  // namespace

int main() {
  std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> loop(g_main_loop_new(nullptr, FALSE), g_main_loop_unref);
  quillon::Engine engine;
  if (const auto failure = engine.start()) {
    std::fprintf(stderr, "quillon-host: %s\n", failure->c_str());
    return 1;
  }
  quillon::HostServices services;
  // The process services are not built yet; their commands answer without them.
  const quillon::NativeCommandChannel commands(engine.binaryMessenger(), services.commandServices({}));

  const guint interrupt = g_unix_signal_add(SIGINT, quitLoop, loop.get());
  const guint terminate = g_unix_signal_add(SIGTERM, quitLoop, loop.get());
  g_main_loop_run(loop.get());
  g_source_remove(interrupt);
  g_source_remove(terminate);
  return 0;
}
