#include "platform/linux/shell/glib_main_loop.h"

namespace quillon {

GlibMainLoop::GlibMainLoop() : loop_(g_main_loop_new(nullptr, FALSE)) {}

int GlibMainLoop::run() {
  if (!status_) g_main_loop_run(loop_.get());
  return status_.value_or(0);
}

void GlibMainLoop::quit(int status) {
  if (status_) return;
  status_ = status;
  g_main_loop_quit(loop_.get());
}

}  // namespace quillon
