#include "commands/assembly_commands.h"

#include <gtest/gtest.h>

#include "bundle/assembly_data.h"
#include "commands/command_dispatcher.h"
#include "tests/bundle/fake_bundle.h"
#include "tests/support/capturing_diagnostics.h"
#include "tests/support/reply_recorder.h"

namespace quillon {
namespace {

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

}  // namespace
}  // namespace quillon
