// IdentityServices: the platform that SSLFunctions works on. Every member is
// borrowed; the owner (the host's wiring, or a test) keeps them alive for as
// long as the services are used.
#pragma once

#include "platform/clock.h"
#include "platform/date_parser.h"
#include "platform/diagnostics.h"
#include "platform/hardware_identity.h"
#include "platform/keychain.h"
#include "platform/network_interfaces.h"
#include "platform/temporary_directory.h"
#include "platform/tool_runner.h"
#include "platform/uuid_generator.h"

namespace quillon {

struct IdentityServices {
  Keychain& keychain;
  TemporaryDirectory& temporaryDirectory;
  UuidGenerator& uuids;
  ToolRunner& tools;
  const DateParser& dates;
  const Clock& clock;
  const NetworkInterfaces& interfaces;
  const HardwareIdentity& hardware;
  Diagnostics& diagnostics;
};

}  // namespace quillon
