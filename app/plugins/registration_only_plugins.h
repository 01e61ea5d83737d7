// Plug-ins whose native half has nothing to do on this host yet: connectivity,
// package information and standard directories.
// They are registered under their names so that the registry holds the same
// six plug-ins in the same order as on every desktop; until a native half
// lands, calls on their channels find no handler and answer not-implemented,
// which the interface's packages treat as "not supported on this platform".
#pragma once

#include "app/plugin_registry.h"

namespace quillon {

void registerWithoutNativeHalf(const PluginRegistrar& registrar);

}  // namespace quillon
