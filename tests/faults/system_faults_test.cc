// Faults of the machine under the host, each made for real in a namespace of
// the host's own: the system tools it runs missing, its certificate database
// corrupted or read-only, its temporary directory full. Each answer is the
// failure value the README gives, and the host goes on serving.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/app/host_conversation.h"
#include "tests/faults/private_namespace.h"
#include "tests/faults/process_readings.h"
#include "tests/identity/test_certificates.h"
#include "tests/support/catalogue_end_to_end_test.h"

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLabel = "Quillon Gateway";  // Its certificate ends on 2 January 2030.
constexpr const char* kPast = "2000-01-01T00:00:00Z";
constexpr const char* kBeforeTheEnd = "2029-12-31T00:00:00Z";
constexpr const char* kFuture = "2099-01-01T00:00:00Z";

class SystemFaultTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!canMakeNamespaces()) GTEST_SKIP() << "making mount namespaces needs root";
  }

  void start(const std::string& mounts, bool ownPids = false) {
    host_ = std::make_unique<HostProcess>(HostProcess::Layout{.headless = true, .launcher = inPrivateMounts(mounts, ownPids)});
    prepare(host_->directory() + "/home");
    host_->start();
    ASSERT_TRUE(host_->waitReady()) << host_->errorOutput();
    std::string error;
    client_ = LinkClient::connect(host_->socketPath(), &error);
    ASSERT_TRUE(client_) << error;
  }

  // Before the host starts: its home, with whatever the fault needs.
  virtual void prepare(const std::string& home) { fs::create_directories(home); }

  ChannelReply call(const std::string& method, ChannelValue arguments = {}) {
    std::string error;
    auto reply = client_->call(kNativeCommandChannel, MethodCall{method, std::move(arguments)}, kAnswerTime, &error);
    EXPECT_TRUE(reply) << method << ": " << error;
    return reply.value_or(ChannelReply::error("TEST", error));
  }

  ChannelReply check(const std::string& date) {
    return call("ssl::isCertificateAvailable", argumentMap({{"subject", kLabel}, {"expirationDate", date}}));
  }

  ChannelReply add(const std::string& subject) {
    return call("ssl::addCertificate", argumentMap({{"certificate", base64Of(makeCertificate(subject))}}));
  }

  void expectStillServingAndEndingCleanly() {
    EXPECT_EQ(call("assembly::getExecutingAssemblyPath"), ChannelReply::success(host_->executablePath()));
    EXPECT_EQ(host_->stop(), 0) << host_->errorOutput();
  }

  std::unique_ptr<HostProcess> host_;
  std::unique_ptr<LinkClient> client_;
};

TEST_F(SystemFaultTest, WithoutItsToolsEveryToolRunGivesItsFailureValue) {
  // In a process namespace of its own the host is process 1, which /bin/kill could not end anyway.
  start("for tool in /bin/ps /bin/kill /usr/bin/openssl; do mount --bind /dev/null \"$tool\"; done", true);
  const auto process1 = argumentMap({{"processId", std::int64_t{1}}});
  EXPECT_EQ(call("process::getProcessIdList"), ChannelReply::success(ChannelList{}));
  EXPECT_EQ(call("process::isAlive", process1), ChannelReply::success(false));
  EXPECT_EQ(call("process::killProcess", process1), ChannelReply::success(false));
  EXPECT_EQ(call("process::closeWindow", process1), ChannelReply::success(false));
  for (const char* query : {"process::getProcessName", "process::getProcessFileName",
                            "process::getProcessLaunchArguments"}) {
    EXPECT_EQ(call(query, process1), ChannelReply::success("Unknown")) << query;
  }
  // /proc still answers what does not need a tool.
  EXPECT_EQ(call("process::getProcessesByName", argumentMap({{"name", "quillon-host"}})),
            ChannelReply::success(ChannelList{std::int32_t{1}}));

  // Without openssl the end of validity is the current instant.
  EXPECT_EQ(add("/CN=Quillon Gateway"), ChannelReply::success(true));
  EXPECT_EQ(check(kPast), ChannelReply::success(true));
  EXPECT_EQ(check(kFuture), ChannelReply::success(false));
  expectStillServingAndEndingCleanly();
  EXPECT_EQ(host_->output(), "Error running OpenSSL: Permission denied\nError running OpenSSL: Permission denied\n");
}

TEST_F(SystemFaultTest, AFullTemporaryDirectoryGivesTheCurrentInstantAndSaysWhy) {
  start("mkdir -p \"$HOME/tmp\"\nmount -t tmpfs -o size=4k quillon-full \"$HOME/tmp\"\n"
        "head -c 8192 /dev/zero >\"$HOME/tmp/filler\" || true\nexport TMPDIR=\"$HOME/tmp\"");
  EXPECT_EQ(add("/CN=Quillon Gateway"), ChannelReply::success(true));
  EXPECT_EQ(check(kPast), ChannelReply::success(true));
  EXPECT_EQ(check(kFuture), ChannelReply::success(false));
  expectStillServingAndEndingCleanly();
  const std::string output = host_->output();
  EXPECT_EQ(countOccurrences(output, "Error saving certificate to file: Could not write \"" + host_->directory() + "/home/tmp/"),
            2u)
      << output;
  EXPECT_EQ(countOccurrences(output, "No space left on device"), 2u) << output;
}

class CorruptedCertificateStoreTest : public SystemFaultTest {
 protected:
  void prepare(const std::string& home) override {
    fs::create_directories(home + "/.pki/nssdb");
    for (const char* file : {"cert9.db", "key4.db", "pkcs11.txt"}) {
      std::ofstream(home + "/.pki/nssdb/" + file) << std::string(4096, '\x5a');
    }
  }
};

TEST_F(CorruptedCertificateStoreTest, LooksUpNothingAndAddsNothing) {
  start("");
  EXPECT_EQ(check(kPast), ChannelReply::success(false));
  EXPECT_EQ(add("/CN=Quillon Gateway"), ChannelReply::success(false));
  EXPECT_EQ(check(kPast), ChannelReply::success(false));
  expectStillServingAndEndingCleanly();
  EXPECT_EQ(host_->output(), "");
}

class ReadOnlyCertificateStoreTest : public SystemFaultTest {
 protected:
  // A store made by certutil, holding the certificate.
  void prepare(const std::string& home) override {
    const std::string database = "sql:" + home + "/.pki/nssdb";
    fs::create_directories(home + "/.pki/nssdb");
    const std::string certificate = home + "/gateway.der";
    const auto der = makeCertificate("/CN=Quillon Gateway");
    std::ofstream(certificate, std::ios::binary).write(reinterpret_cast<const char*>(der.data()),
                                                       static_cast<std::streamsize>(der.size()));
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"-N", "-d", database, "--empty-password"},
          std::vector<std::string>{"-A", "-d", database, "-n", kLabel, "-t", ",,", "-i", certificate}}) {
      const ToolRun run = runTool("/usr/bin/certutil", arguments, {}, home);
      ASSERT_EQ(run.status, 0) << run.errorOutput;
    }
  }
};

TEST_F(ReadOnlyCertificateStoreTest, FindsWhatItHoldsAndAddsNothing) {
  start("mount --bind \"$HOME/.pki/nssdb\" \"$HOME/.pki/nssdb\"\nmount -o remount,bind,ro \"$HOME/.pki/nssdb\"");
  EXPECT_EQ(check(kBeforeTheEnd), ChannelReply::success(true));
  EXPECT_EQ(add("/CN=Quillon Relay"), ChannelReply::success(false));
  EXPECT_EQ(check(kBeforeTheEnd), ChannelReply::success(true));
  expectStillServingAndEndingCleanly();
  EXPECT_EQ(host_->output(), "");
}

}  // namespace
}  // namespace quillon::testing
