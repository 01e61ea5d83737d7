#include "bundle/assembly_data.h"

#include <gtest/gtest.h>

#include "tests/bundle/fake_bundle.h"
#include "tests/support/capturing_diagnostics.h"

namespace quillon {
namespace {

using Lines = std::vector<std::string>;

// A bundle whose executable and resources are the test's, and files that exist.
struct Answer {
  std::string path;
  Lines lines;
  friend bool operator==(const Answer&, const Answer&) = default;
};
Answer answer(std::string (*operation)(const BundleEnvironment&), std::optional<std::string> executable,
              std::optional<std::string> resources, std::set<std::string> existing) {
  testing::FakeBundle bundle;
  bundle.executable = std::move(executable);
  bundle.resources = std::move(resources);
  testing::FakeFiles files;
  files.existing = std::move(existing);
  testing::CapturingDiagnostics diagnostics;
  std::string path = operation({bundle, files, diagnostics});
  return {std::move(path), std::move(diagnostics.lines)};
}

void PrintTo(const Answer& a, std::ostream* out) { *out << ::testing::PrintToString(a.path) << " " << ::testing::PrintToString(a.lines); }

TEST(AssemblyDataTest, HelperPathsAreAnsweredWhenTheyExistElseEmptyWithALine) {
  const auto rdp = &AssemblyData::getRDPBinaryExecutablePath;
  const auto tx = &AssemblyData::getTXBinaryExecutablePath;
  EXPECT_EQ(answer(tx, {}, "/A/Resources", {"/A/Resources/pylonTX/pylonTX"}), (Answer{"/A/Resources/pylonTX/pylonTX", {}}));
  EXPECT_EQ(answer(rdp, {}, "/A/Resources", {"/A/Resources/pylonRDP/pylonRDP"}),
            (Answer{"/A/Resources/pylonRDP/pylonRDP", {}}));
  EXPECT_EQ(answer(tx, {}, "/A/Resources", {"/A/Resources/pylonRDP/pylonRDP"}),
            (Answer{"", {"Error: pylonTX directory not found at path /A/Resources/pylonTX/pylonTX"}}));
  EXPECT_EQ(answer(rdp, {}, "/A/Resources", {}),
            (Answer{"", {"Error: pylonRDP directory not found at path /A/Resources/pylonRDP/pylonRDP"}}));
  // The text is appended, without rules for separators.
  EXPECT_EQ(answer(rdp, {}, "/A/Resources/", {"/A/Resources//pylonRDP/pylonRDP"}),
            (Answer{"/A/Resources//pylonRDP/pylonRDP", {}}));
  for (const auto operation : {rdp, tx}) {
    EXPECT_EQ(answer(operation, {}, std::nullopt, {}), (Answer{"", {"Error: Unable to find the resource path"}}));
  }
  EXPECT_EQ(answer(tx, {}, "/A/Caf\xE9/data", {"/A/Caf\xE9/data/pylonTX/pylonTX"}),
            (Answer{"", {"Error: Unable to find the resource path"}}));
}

TEST(AssemblyDataTest, TheExecutablePathIsNotCheckedForExistence) {
  const auto executable = &AssemblyData::getAppExecutablePath;
  EXPECT_EQ(answer(executable, "/A/quillon-host", {}, {}), (Answer{"/A/quillon-host", {}}));
  for (const std::optional<std::string>& missing : {std::optional<std::string>(), std::optional<std::string>("/A/\xFF")}) {
    EXPECT_EQ(answer(executable, missing, {}, {}), (Answer{"", {"Error: Unable to find the executable URL"}}));
  }
}

}  // namespace
}  // namespace quillon
