// Kept for the tests that include it from here: tests/support/host_conversation.h.
#pragma once
#include "tests/support/host_conversation.h"
