// The standard codec's costs: a large integer list, a typical call, and one
// small call decoded, routed through the whole catalogue and answered.
#include <benchmark/benchmark.h>

#include "bundle/assembly_data.h"
#include "channel/standard_codec.h"
#include "commands/command_catalogue.h"
#include "commands/command_dispatcher.h"
#include "tests/bundle/fake_bundle.h"
#include "tests/identity/fake_identity_platform.h"
#include "tests/support/capturing_diagnostics.h"
#include "tests/support/inline_background_work.h"
#include "tests/window/fake_desktop.h"

namespace quillon {
namespace {

ChannelValue integerList() {
  ChannelList list;
  list.reserve(10'000);
  for (std::int32_t i = 0; i < 10'000; ++i) list.emplace_back(i * 7919);
  return list;
}

MethodCall typicalCall() {
  ChannelMap arguments;
  arguments.set("windowHandle", std::int64_t{4242});
  arguments.set("command", std::int32_t{3});
  return MethodCall{"window::showWindow", std::move(arguments)};
}

void encodeIntegerList(benchmark::State& state) {
  const ChannelValue list = integerList();
  for (auto _ : state) benchmark::DoNotOptimize(StandardCodec::encodeValue(list));
}
BENCHMARK(encodeIntegerList);

void decodeIntegerList(benchmark::State& state) {
  const std::vector<std::uint8_t> bytes = StandardCodec::encodeValue(integerList());
  for (auto _ : state) benchmark::DoNotOptimize(StandardCodec::decodeValue(bytes));
}
BENCHMARK(decodeIntegerList);

void encodeMethodCall(benchmark::State& state) {
  const MethodCall call = typicalCall();
  for (auto _ : state) benchmark::DoNotOptimize(StandardCodec::encodeMethodCall(call));
}
BENCHMARK(encodeMethodCall);

void decodeMethodCall(benchmark::State& state) {
  const std::vector<std::uint8_t> bytes = StandardCodec::encodeMethodCall(typicalCall());
  for (auto _ : state) benchmark::DoNotOptimize(StandardCodec::decodeMethodCall(bytes));
}
BENCHMARK(decodeMethodCall);

// What the link does with one incoming call, minus the socket: decode, route
// through the 24 names (this one is the 22nd), answer, encode the envelope.
void decodeRouteEncode(benchmark::State& state) {
  testing::FakeBundle bundle;
  bundle.executable = "/opt/quillon-host/quillon-host";
  bundle.resources = "/opt/quillon-host/data";
  testing::FakeFiles files;
  testing::CapturingDiagnostics diagnostics;
  const BundleEnvironment environment{bundle, files, diagnostics};
  testing::FakeIdentityPlatform identity;
  testing::FakeDesktop desktop;
  testing::InlineBlockingWork work;
  const CommandDispatcher dispatcher(commandCatalogue(CommandServices{
      []() -> ProcessManager& { std::abort(); }, desktop.services, identity.services, environment, work.blocking}));
  const std::vector<std::uint8_t> request =
      StandardCodec::encodeMethodCall(MethodCall{"assembly::getExecutingAssemblyPath", {}});

  std::vector<std::uint8_t> answer;
  for (auto _ : state) {
    const Expected<MethodCall> call = StandardCodec::decodeMethodCall(request);
    dispatcher.handle(*call, ReplyCallback([&answer](ChannelReply reply) {
      answer = StandardCodec::encodeReply(reply);
    }));
    benchmark::DoNotOptimize(answer.data());
  }
  if (StandardCodec::decodeReply(answer) != ChannelReply::success("/opt/quillon-host/quillon-host")) {
    state.SkipWithError("the call was not answered with the executable's path");
  }
}
BENCHMARK(decodeRouteEncode);

}  // namespace
}  // namespace quillon

BENCHMARK_MAIN();
