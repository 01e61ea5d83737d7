#include "bundle/assembly_data.h"

#include <gtest/gtest.h>

#include <ostream>

#include "tests/bundle/fake_bundle.h"
#include "tests/support/capturing_diagnostics.h"

namespace quillon {
namespace {

using Operation = std::string (*)(const BundleEnvironment&);

struct HelperCase {
  const char* label;
  Operation operation;
  std::optional<std::string> resources;
  std::set<std::string> existing;
  std::string expected;
  std::vector<std::string> lines;
};

// Names the case in test output instead of dumping its bytes.
void PrintTo(const HelperCase& c, std::ostream* out) { *out << c.label; }

class HelperPathTest : public ::testing::TestWithParam<HelperCase> {};

TEST_P(HelperPathTest, AnswersThePathOrEmptyWithItsLine) {
  const HelperCase& c = GetParam();
  testing::FakeBundle bundle;
  bundle.resources = c.resources;
  testing::FakeFiles files;
  files.existing = c.existing;
  testing::CapturingDiagnostics diagnostics;
  EXPECT_EQ(c.operation({bundle, files, diagnostics}), c.expected);
  EXPECT_EQ(diagnostics.lines, c.lines);
}

INSTANTIATE_TEST_SUITE_P(
    AssemblyData, HelperPathTest,
    ::testing::Values(
        HelperCase{"TxPresent", &AssemblyData::getTXBinaryExecutablePath, "/A/Resources",
                   {"/A/Resources/pylonTX/pylonTX"}, "/A/Resources/pylonTX/pylonTX", {}},
        HelperCase{"TxMissing", &AssemblyData::getTXBinaryExecutablePath, "/A/Resources",
                   {"/A/Resources/pylonRDP/pylonRDP"}, "",
                   {"Error: pylonTX directory not found at path /A/Resources/pylonTX/pylonTX"}},
        HelperCase{"RdpPresent", &AssemblyData::getRDPBinaryExecutablePath, "/A/Resources",
                   {"/A/Resources/pylonRDP/pylonRDP"}, "/A/Resources/pylonRDP/pylonRDP", {}},
        HelperCase{"RdpMissing", &AssemblyData::getRDPBinaryExecutablePath, "/A/Resources", {}, "",
                   {"Error: pylonRDP directory not found at path /A/Resources/pylonRDP/pylonRDP"}},
        HelperCase{"TextAppendedWithoutSeparatorRules", &AssemblyData::getRDPBinaryExecutablePath, "/A/Resources/",
                   {"/A/Resources//pylonRDP/pylonRDP"}, "/A/Resources//pylonRDP/pylonRDP", {}},
        HelperCase{"NoResourcesRdp", &AssemblyData::getRDPBinaryExecutablePath, std::nullopt, {}, "",
                   {"Error: Unable to find the resource path"}},
        HelperCase{"NoResourcesTx", &AssemblyData::getTXBinaryExecutablePath, std::nullopt, {}, "",
                   {"Error: Unable to find the resource path"}},
        HelperCase{"ResourcesNotUtf8", &AssemblyData::getTXBinaryExecutablePath, "/A/Caf\xE9/data",
                   {"/A/Caf\xE9/data/pylonTX/pylonTX"}, "", {"Error: Unable to find the resource path"}}),
    [](const auto& param) { return std::string(param.param.label); });

TEST(AssemblyDataTest, ExecutablePathIsNotCheckedForExistence) {
  testing::FakeBundle bundle;
  bundle.executable = "/A/quillon-host";
  testing::FakeFiles nothingExists;
  testing::CapturingDiagnostics diagnostics;
  EXPECT_EQ(AssemblyData::getAppExecutablePath({bundle, nothingExists, diagnostics}), "/A/quillon-host");
  EXPECT_TRUE(diagnostics.lines.empty());
}

TEST(AssemblyDataTest, NoExecutableOrOneNotUtf8AnswersEmptyWithItsLine) {
  for (const std::optional<std::string>& executable : {std::optional<std::string>(), std::optional<std::string>("/A/\xFF")}) {
    testing::FakeBundle bundle;
    bundle.executable = executable;
    testing::FakeFiles files;
    testing::CapturingDiagnostics diagnostics;
    EXPECT_EQ(AssemblyData::getAppExecutablePath({bundle, files, diagnostics}), "");
    EXPECT_EQ(diagnostics.lines, std::vector<std::string>{"Error: Unable to find the executable URL"});
  }
}

}  // namespace
}  // namespace quillon
