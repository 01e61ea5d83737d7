// Faults of the machine under the host, each made for real in namespaces of
// the host's own, so that it alone sees them and they go with it: the system
// tools it runs missing, its certificate database corrupted or read-only, its
// temporary directory full. Each answer is the failure value the manual gives,
// the host says why where it should, and it goes on serving. Making the
// namespaces needs root, which CI has.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/identity/test_certificates.h"
#include "tests/support/host_conversation.h"

namespace quillon::testing {
namespace {

struct Call {
  std::string method;
  ChannelValue arguments;
  ChannelReply reply;
};

struct SystemFault {
  const char* name;
  // sh, stopping at the first failure, run in the host's own mount namespace
  // with its environment ($HOME and $TMPDIR are the host's), before it starts.
  std::string setup;
  // The host is process 1 of a process namespace of its own, so nothing it
  // signals is a process of the machine.
  bool ownPids;
  std::vector<Call> calls;
  std::string output;  // a regular expression; $HOME stands for the host's home, once
};

TEST(SystemFaultTest, EachFaultGivesTheFailureValuesAndTheHostGoesOnServing) {
  if (::geteuid() != 0) GTEST_SKIP() << "making mount namespaces needs root";
  // Its certificate ends on 2 January 2030.
  const auto check = [](const char* date, bool found) {
    return Call{"ssl::isCertificateAvailable",
                argumentMap({{"subject", "Quillon Gateway"}, {"expirationDate", date}}), ChannelReply::success(found)};
  };
  const auto add = [](const char* subject, bool added) {
    return Call{"ssl::addCertificate", argumentMap({{"certificate", base64Of(makeCertificate(subject))}}),
                ChannelReply::success(added)};
  };
  const auto ofProcess1 = [](const char* method, ChannelValue answer) {
    return Call{method, argumentMap({{"processId", std::int64_t{1}}}), ChannelReply::success(answer)};
  };
  const std::string store = "\"$HOME/.pki/nssdb\"";
  const std::vector<SystemFault> faults = {
      {"the tools missing", "for tool in /bin/ps /bin/kill /usr/bin/openssl; do mount --bind /dev/null $tool; done",
       true,
       {{"process::getProcessIdList", {}, ChannelReply::success(ChannelList{})},
        ofProcess1("process::isAlive", false), ofProcess1("process::killProcess", false),
        ofProcess1("process::closeWindow", false), ofProcess1("process::getProcessName", "Unknown"),
        ofProcess1("process::getProcessFileName", "Unknown"),
        ofProcess1("process::getProcessLaunchArguments", "Unknown"),
        // /proc still answers what needs no tool.
        {"process::getProcessesByName", argumentMap({{"name", "quillon-host"}}),
         ChannelReply::success(ChannelList{std::int32_t{1}})},
        // Without openssl the end of validity is the current instant.
        add("/CN=Quillon Gateway", true), check("2000-01-01T00:00:00Z", true), check("2099-01-01T00:00:00Z", false)},
       "(Error running OpenSSL: Permission denied\n){2}"},
      {"a full temporary directory",
       "mkdir -p \"$HOME/tmp\"\nmount -t tmpfs -o size=4k quillon-full \"$HOME/tmp\"\n"
       "head -c 8192 /dev/zero >\"$HOME/tmp/filler\" || true\nexport TMPDIR=\"$HOME/tmp\"",
       false,
       {add("/CN=Quillon Gateway", true), check("2000-01-01T00:00:00Z", true), check("2099-01-01T00:00:00Z", false)},
       "(Error saving certificate to file: Could not write \"$HOME/tmp/[^\"]+\": No space left on device\n){2}"},
      {"a corrupted certificate database",
       "mkdir -p " + store + "\nfor file in cert9.db key4.db pkcs11.txt; do head -c 4096 /dev/zero | tr '\\0' Z >" +
           store + "/$file; done",
       false,
       {check("2000-01-01T00:00:00Z", false), add("/CN=Quillon Gateway", false), check("2000-01-01T00:00:00Z", false)},
       ""},
      {"a read-only certificate database made by certutil",
       "mkdir -p " + store + "\ncertutil -N -d sql:" + store + " --empty-password\ncertutil -A -d sql:" + store +
           " -n 'Quillon Gateway' -t ,, -i \"$HOME/gateway.der\" >/dev/null\nmount --bind " + store + " " + store +
           "\nmount -o remount,bind,ro " + store,
       false,
       {check("2029-12-31T00:00:00Z", true), add("/CN=Quillon Relay", false), check("2029-12-31T00:00:00Z", true)},
       ""},
  };
  const auto gateway = makeCertificate("/CN=Quillon Gateway");
  for (const SystemFault& fault : faults) {
    SCOPED_TRACE(fault.name);
    std::vector<std::string> launcher{"/usr/bin/unshare", "--mount", "--propagation", "private"};
    if (fault.ownPids) launcher.insert(launcher.end(), {"--pid", "--fork", "--mount-proc", "--kill-child"});
    launcher.insert(launcher.end(), {"/bin/sh", "-ec", fault.setup + "\nexec \"$0\""});
    HostProcess host({.headless = true, .launcher = launcher});
    const std::string home = host.directory() + "/home";
    std::filesystem::create_directories(home);
    std::ofstream(home + "/gateway.der", std::ios::binary)
        .write(reinterpret_cast<const char*>(gateway.data()), static_cast<std::streamsize>(gateway.size()));
    host.start();
    ASSERT_TRUE(host.waitReady()) << host.errorOutput();
    auto client = connectTo(host);
    ASSERT_TRUE(client);
    for (const Call& call : fault.calls) {
      EXPECT_EQ(callHost(*client, kNativeCommandChannel, call.method, call.arguments), call.reply) << call.method;
    }
    EXPECT_EQ(callHost(*client, kNativeCommandChannel, "assembly::getExecutingAssemblyPath"),
              ChannelReply::success(host.executablePath()));
    EXPECT_EQ(host.stop(), 0) << host.errorOutput();
    std::string pattern = fault.output;
    if (const auto at = pattern.find("$HOME"); at != std::string::npos) pattern.replace(at, 5, home);
    EXPECT_THAT(host.output(), ::testing::MatchesRegex(pattern));
  }
}

}  // namespace
}  // namespace quillon::testing
