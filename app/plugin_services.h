// PluginServices: the desktop's services that the plug-ins' native halves
// reach through their registrar.
//
// Contract: borrowed; whoever builds the main window keeps the services alive
// for longer than the window, its view controller and every handler a plug-in
// installs.
#pragma once

#include "platform/secret_store.h"
#include "platform/url_opener.h"

namespace quillon {

struct PluginServices {
  UrlOpener& urls;
  SecretStore& secrets;
};

}  // namespace quillon
