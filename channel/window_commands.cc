#include "channel/window_commands.h"

#include "channel/unbuilt_commands.h"

namespace quillon {

CommandList windowCommands() {
  return unbuiltCommands({"window::getWindowRect", "window::showWindow", "window::getScreenBounds",
                          "window::getScreenWorkingAreaDimensions", "window::showAlert"});
}

}  // namespace quillon
