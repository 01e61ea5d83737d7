// AssemblyData over a described bundle, the "assembly::" catalogue over it, and
// the Linux locator of the bundle on a real directory.
#include "bundle/assembly_data.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>

#include "commands/assembly_commands.h"
#include "commands/command_dispatcher.h"
#include "platform/linux/system/flutter_bundle_locator.h"
#include "tests/bundle/fake_bundle.h"
#include "tests/support/capturing_diagnostics.h"
#include "tests/support/reply_recorder.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

// The path that `operation` answers, and the lines it prints, for a bundle of
// that executable and resources where the files `existing` exist.
using Answer = std::pair<std::string, Lines>;
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

TEST(AssemblyDataTest, HelperPathsAreAnsweredWhenTheyExistElseEmptyWithALine) {
  const auto rdp = &AssemblyData::getRDPBinaryExecutablePath;
  const auto tx = &AssemblyData::getTXBinaryExecutablePath;
  EXPECT_EQ(answer(tx, {}, "/A/Resources", {"/A/Resources/pylonTX/pylonTX"}),
            (Answer{"/A/Resources/pylonTX/pylonTX", {}}));
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

TEST(AssemblyCommandsTest, AnswerPathsAsSuccessWhateverTheArguments) {
  testing::FakeBundle bundle;
  bundle.resources = "/B/data";
  bundle.executable = "/B/quillon-host";
  testing::FakeFiles files;
  files.existing = {"/B/data/pylonRDP/pylonRDP"};
  testing::CapturingDiagnostics diagnostics;
  const BundleEnvironment environment{bundle, files, diagnostics};
  const CommandDispatcher dispatcher(assemblyCommands(environment));
  for (const ChannelValue& arguments : {ChannelValue(), ChannelValue("x"), ChannelValue(ChannelList{})}) {
    for (const auto& [method, path] : {std::pair{"assembly::getExecutingAssemblyPath", "/B/quillon-host"},
                                       std::pair{"assembly::getRDPBinaryExecutablePath", "/B/data/pylonRDP/pylonRDP"},
                                       std::pair{"assembly::getTXBinaryExecutablePath", ""}}) {
      testing::ReplyRecorder recorder;
      dispatcher.handle(MethodCall{method, arguments}, recorder.callback());
      EXPECT_EQ(recorder.only(), ChannelReply::success(path)) << method;
    }
  }
}

TEST(FlutterBundleLocatorTest, ResourcesAreTheDataDirectoryBesideTheExecutable) {
  std::string root = (fs::temp_directory_path() / "quillon-bundle-XXXXXX").string();
  ASSERT_NE(::mkdtemp(root.data()), nullptr);
  const fs::path bundle = fs::path(root) / "bundle";
  fs::create_directories(bundle);
  fs::create_symlink(bundle / "quillon-host", root + "/exe");
  const FlutterBundleLocator locator(root + "/exe");
  EXPECT_EQ(locator.executablePath(), (bundle / "quillon-host").string());
  EXPECT_EQ(locator.resourcePath(), std::nullopt);
  fs::create_directories(bundle / "data");
  EXPECT_EQ(locator.resourcePath(), (bundle / "data").string());
  const FlutterBundleLocator unreadable(root + "/missing");
  EXPECT_EQ(unreadable.executablePath(), std::nullopt);
  EXPECT_EQ(unreadable.resourcePath(), std::nullopt);
  fs::remove_all(root);
}

}  // namespace
}  // namespace quillon
