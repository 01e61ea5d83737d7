#include "app/plugins/registration_only_plugins.h"

namespace quillon {

void registerWithoutNativeHalf(const PluginRegistrar&) {}

}  // namespace quillon
