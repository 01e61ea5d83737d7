// Interface processes that vanish at the worst moments: in the middle of a
// frame, before the answer to their call, and while the host still has
// megabytes of answers to write to them. The host drops each one, keeps no
// descriptor of it, and goes on serving the others.
#include <gtest/gtest.h>

#include "tests/app/host_conversation.h"
#include "tests/faults/process_readings.h"

namespace quillon::testing {
namespace {

std::vector<std::uint8_t> callFrame(std::uint32_t id, const std::string& method) {
  return encodeMessageFrame(id, kNativeCommandChannel, StandardCodec::encodeMethodCall(MethodCall{method, {}}));
}

TEST(VanishingClientTest, TheHostDropsClientsThatVanishAndServesTheOthers) {
  auto host = startedHost({.headless = true});
  auto witness = connectTo(*host);
  ASSERT_TRUE(witness);
  ASSERT_TRUE(callHost(*witness, kNativeCommandChannel, "assembly::getExecutingAssemblyPath").isSuccess());
  const std::size_t descriptors = openDescriptors(host->pid()).size();

  std::vector<std::uint8_t> manyCalls;
  for (std::uint32_t id = 1; id <= 100'000; ++id) {
    const auto frame = callFrame(id, "assembly::getExecutingAssemblyPath");
    manyCalls.insert(manyCalls.end(), frame.begin(), frame.end());
  }
  const auto toolRun = callFrame(1, "process::getProcessIdList");
  const std::map<std::string, std::span<const std::uint8_t>> lastWords{
      {"mid-frame", std::span(toolRun).first(toolRun.size() / 2)},
      {"before the answer to a tool run", toolRun},
      {"with megabytes of answers unread", manyCalls},
  };
  for (const auto& [moment, bytes] : lastWords) {
    auto vanishing = connectTo(*host);
    ASSERT_TRUE(vanishing);
    std::string error;
    EXPECT_TRUE(vanishing->sendRaw(bytes, &error)) << moment << ": " << error;
    vanishing.reset();
    EXPECT_EQ(callHost(*witness, kNativeCommandChannel, "assembly::getExecutingAssemblyPath"),
              ChannelReply::success(host->executablePath()))
        << moment;
    EXPECT_TRUE(waitUntil([&] { return openDescriptors(host->pid()).size() == descriptors; }, kAnswerTime)) << moment;
  }
  EXPECT_EQ(host->stop(), 0);
}

}  // namespace
}  // namespace quillon::testing
