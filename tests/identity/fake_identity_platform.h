// The identity platform described by the test: every fake records what it was
// asked and answers what the test set.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "identity/identity_services.h"
#include "tests/support/capturing_diagnostics.h"
#include "tests/support/fake_tool_runner.h"

namespace quillon::testing {

struct FakeKeychain final : Keychain {
  std::optional<Certificate> makeCertificate(const std::vector<std::uint8_t>& der) const override {
    if (der.empty() || der.front() != 0x30) return std::nullopt;  // a DER SEQUENCE, as far as fakes go
    return certificateFromCheckedDer(der);
  }
  Expected<Certificate, KeychainError> copyMatching(const SearchRequest& request) override {
    searches.push_back(request);
    const auto found = stored.find(request.label);
    if (found == stored.end()) return KeychainError::kItemNotFound;
    return certificateFromCheckedDer(found->second);
  }
  Expected<void, KeychainError> add(const AddRequest& request) override {
    added.push_back(request.value.der());
    return addResult;
  }

  std::map<std::string, std::vector<std::uint8_t>> stored;  // label -> DER
  Expected<void, KeychainError> addResult;
  std::vector<SearchRequest> searches;
  std::vector<std::vector<std::uint8_t>> added;
};

// Holds `files` as a directory would; the writes and removals answer what the test set.
struct FakeTemporaryDirectory final : TemporaryDirectory {
  std::string path() const override { return "/tmp/user"; }
  Expected<void> writeNewFile(const std::string& filePath, const std::vector<std::uint8_t>& bytes) override {
    if (files.contains(filePath)) return Failure{"File exists"};
    if (writeResult.hasValue()) files[filePath] = bytes;
    return writeResult;
  }
  Expected<void> removeFile(const std::string& filePath) override {
    removed.push_back(filePath);
    if (removeResult.hasValue()) files.erase(filePath);
    return removeResult;
  }
  Expected<void> writeResult;
  Expected<void> removeResult;
  std::map<std::string, std::vector<std::uint8_t>> files;
  std::vector<std::string> removed;
};

struct FakeUuids final : UuidGenerator {
  std::string newUuid() override { return "0F1E2D3C-4B5A-4978-8695-A4B3C2D1E0F9"; }
};

// Knows the dates the test names; records each pattern, locale and text it was asked.
struct FakeDateParser final : DateParser {
  std::optional<Instant> parse(std::string_view pattern, std::string_view locale, std::string_view text) const override {
    asked.push_back({std::string(pattern), std::string(locale), std::string(text)});
    const auto known = dates.find(std::string(text));
    return known == dates.end() ? std::nullopt : std::optional<Instant>(known->second);
  }
  std::map<std::string, Instant> dates;
  mutable std::vector<std::array<std::string, 3>> asked;  // pattern, locale, text
};

struct FakeClock final : Clock {
  Instant now() const override { return instant; }
  Instant instant = Instant(std::chrono::seconds(1'700'000'000));
};

struct FakeInterfaces final : NetworkInterfaces {
  std::optional<std::vector<NetworkInterface>> list() const override { return interfaces; }
  std::optional<std::vector<NetworkInterface>> interfaces = std::vector<NetworkInterface>{};
};

struct FakeHardware final : HardwareIdentity {
  std::optional<std::string> platformUuid() const override { return uuid; }
  std::optional<std::string> uuid;
};

// Notes what the temporary directory holds whenever a tool starts, then runs
// the tool on `tools`.
struct ToolRunnerSeeingFiles final : ToolRunner {
  ToolRunnerSeeingFiles(FakeToolRunner& runner, const FakeTemporaryDirectory& watched)
      : tools(runner), directory(watched) {}
  FakeToolRunner& tools;
  const FakeTemporaryDirectory& directory;
  std::vector<std::map<std::string, std::vector<std::uint8_t>>> filesAtRuns;

  void endAllRuns() override { tools.endAllRuns(); }

 protected:
  Expected<ToolRun> runTool(const std::string& executable, const std::vector<std::string>& arguments, Streams streams,
                            std::chrono::milliseconds timeLimit, const EnvironmentChanges& environment) override {
    filesAtRuns.push_back(directory.files);
    return tools.run(executable, arguments, streams, timeLimit, environment);
  }
};

// One of each fake, wired together.
struct FakeIdentityPlatform {
  FakeKeychain keychain;
  FakeTemporaryDirectory temporaryDirectory;
  FakeUuids uuids;
  FakeToolRunner tools;
  FakeDateParser dates;
  FakeClock clock;
  FakeInterfaces interfaces;
  FakeHardware hardware;
  CapturingDiagnostics diagnostics;
  ToolRunnerSeeingFiles toolsSeeingFiles{tools, temporaryDirectory};
  IdentityServices services{keychain, temporaryDirectory, uuids,    toolsSeeingFiles, dates,
                            clock,    interfaces,         hardware, diagnostics};
};

}  // namespace quillon::testing
