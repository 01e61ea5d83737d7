// The standard codec's costs on the shapes the interface sends most (a small
// call, a map of strings) and on large values (integers, bytes, a reply with
// many ids), each encoded and decoded; and one small call decoded, routed
// through the whole catalogue and answered.
#include <benchmark/benchmark.h>

#include <cstdio>

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

MethodCall smallCall() {
  ChannelMap arguments;
  arguments.set("processId", std::int32_t{1234});
  return MethodCall{"process::getProcessName", std::move(arguments)};
}

// 100 string keys and values, as a keyring's readAll answers.
ChannelValue stringMap() {
  ChannelMap map;
  for (int i = 0; i < 100; ++i) {
    char key[32];
    char value[64];
    std::snprintf(key, sizeof key, "setting.key.%03d", i);
    std::snprintf(value, sizeof value, "the value stored under key number %03d", i);
    map.set(std::string(key), std::string(value));
  }
  return map;
}

ChannelValue integerList() {
  ChannelList list;
  list.reserve(10'000);
  for (std::int32_t i = 0; i < 10'000; ++i) list.emplace_back(i * 7919);
  return list;
}

ChannelValue mebibyte() {
  std::vector<std::uint8_t> bytes(1 << 20);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 31);
  return bytes;
}

// What process::getProcessIdList answers on a busy machine.
ChannelReply idReply() {
  ChannelList ids;
  for (std::int64_t id = 1; id <= 5000; ++id) ids.emplace_back(id * 13);
  return ChannelReply::success(std::move(ids));
}

void encodeSmallCall(benchmark::State& state) {
  const MethodCall call = smallCall();
  for (auto _ : state) benchmark::DoNotOptimize(StandardCodec::encodeMethodCall(call));
}
BENCHMARK(encodeSmallCall);

void decodeSmallCall(benchmark::State& state) {
  const std::vector<std::uint8_t> bytes = StandardCodec::encodeMethodCall(smallCall());
  for (auto _ : state) benchmark::DoNotOptimize(StandardCodec::decodeMethodCall(bytes));
}
BENCHMARK(decodeSmallCall);

// Values encoded and decoded as they are.
void encodeValue(benchmark::State& state, ChannelValue (*make)()) {
  const ChannelValue value = make();
  for (auto _ : state) benchmark::DoNotOptimize(StandardCodec::encodeValue(value));
}
void decodeValue(benchmark::State& state, ChannelValue (*make)()) {
  const std::vector<std::uint8_t> bytes = StandardCodec::encodeValue(make());
  for (auto _ : state) benchmark::DoNotOptimize(StandardCodec::decodeValue(bytes));
}
BENCHMARK_CAPTURE(encodeValue, stringMap, &stringMap);
BENCHMARK_CAPTURE(decodeValue, stringMap, &stringMap);
BENCHMARK_CAPTURE(encodeValue, integerList, &integerList);
BENCHMARK_CAPTURE(decodeValue, integerList, &integerList);
BENCHMARK_CAPTURE(encodeValue, mebibyte, &mebibyte);
BENCHMARK_CAPTURE(decodeValue, mebibyte, &mebibyte);

void encodeIdReply(benchmark::State& state) {
  const ChannelReply reply = idReply();
  for (auto _ : state) benchmark::DoNotOptimize(StandardCodec::encodeReply(reply));
}
BENCHMARK(encodeIdReply);

void decodeIdReply(benchmark::State& state) {
  const std::vector<std::uint8_t> bytes = StandardCodec::encodeReply(idReply());
  for (auto _ : state) benchmark::DoNotOptimize(StandardCodec::decodeReply(bytes));
}
BENCHMARK(decodeIdReply);

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
