// Real certificates for the tests, made with the openssl tool in a directory
// of their own (a ScratchDirectory, which the tests use too).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/child_process.h"

namespace quillon::testing {

// A self-signed certificate with `subject` (openssl's "/CN=.../O=..." form) that
// ends at `endDate` (YYYYMMDDHHMMSSZ), as DER bytes. Fails the test when openssl fails.
std::vector<std::uint8_t> makeCertificate(const std::string& subject, const std::string& endDate = "20300102000000Z");

std::string base64Of(const std::vector<std::uint8_t>& bytes);

}  // namespace quillon::testing
