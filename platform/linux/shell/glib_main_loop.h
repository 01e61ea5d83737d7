// The main loop on the GLib default main context, where the interface link and
// GTK deliver their events.
#pragma once

#include <glib.h>

#include <optional>

#include "base/c_owner.h"
#include "platform/main_loop.h"

namespace quillon {

class GlibMainLoop final : public MainLoop {
 public:
  GlibMainLoop();

  // Returns at once when quit() came first.
  int run() override;
  void quit(int status) override;

 private:
  COwner<GMainLoop, g_main_loop_unref> loop_;
  std::optional<int> status_;
};

}  // namespace quillon
