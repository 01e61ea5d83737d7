// The arguments of the interface's calls that hold a secret: a value kept in
// the desktop's keyring and a certificate to install. The list of latest
// calls in the main window shows their sizes alone (CallSummariser).
#pragma once

#include <vector>

#include "traffic/call_summariser.h"

namespace quillon {

std::vector<SecretArgument> secretArguments();

}  // namespace quillon
