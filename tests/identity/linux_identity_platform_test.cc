// The Linux sources of the identity values, on fixtures and on this machine.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include "platform/linux/glib_uuid_generator.h"
#include "platform/linux/linux_hardware_identity.h"
#include "platform/linux/linux_temporary_directory.h"
#include "platform/linux/small_file.h"
#include "platform/linux/sysfs_network_interfaces.h"
#include "tests/identity/test_certificates.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

void writeText(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream(path) << text;
}

struct FixtureInterface {
  std::string name;
  int index;
  bool device;
  std::string addressLength;
  std::string address;
};

void addInterface(const fs::path& root, const FixtureInterface& interface) {
  const fs::path directory = root / interface.name;
  writeText(directory / "ifindex", std::to_string(interface.index) + "\n");
  writeText(directory / "addr_len", interface.addressLength + "\n");
  writeText(directory / "address", interface.address + "\n");
  if (interface.device) fs::create_directories(directory / "device");
}

TEST(SysfsNetworkInterfacesTest, ListsDeviceBackedInterfacesInIndexOrder) {
  const testing::ScratchDirectory root;
  addInterface(root.path(), {"lo", 1, false, "6", "00:00:00:00:00:00"});
  addInterface(root.path(), {"veth9", 2, false, "6", "ee:ee:ee:ee:ee:ee"});
  addInterface(root.path(), {"wlan0", 7, true, "6", "AA:bb:CC:00:11:22"});
  addInterface(root.path(), {"eth0", 3, true, "6", "02:fc:00:00:00:01"});
  addInterface(root.path(), {"wwan0", 5, true, "0", ""});
  const auto interfaces = SysfsNetworkInterfaces(root.path()).list();
  ASSERT_TRUE(interfaces);
  ASSERT_EQ(interfaces->size(), 3U);
  EXPECT_EQ((*interfaces)[0].name, "eth0");
  EXPECT_EQ((*interfaces)[0].hardwareAddress, "02:fc:00:00:00:01");
  EXPECT_EQ((*interfaces)[1].name, "wwan0");
  EXPECT_EQ((*interfaces)[1].hardwareAddress, std::nullopt);
  EXPECT_EQ((*interfaces)[2].hardwareAddress, "AA:bb:CC:00:11:22");
}

TEST(SysfsNetworkInterfacesTest, AnUnreadableDirectoryIsNoList) {
  EXPECT_EQ(SysfsNetworkInterfaces("/nonexistent/class/net").list(), std::nullopt);
}

TEST(SysfsNetworkInterfacesTest, ThisMachinesInterfacesAreDevices) {
  const auto interfaces = SysfsNetworkInterfaces().list();
  ASSERT_TRUE(interfaces);
  for (const NetworkInterface& interface : *interfaces) {
    EXPECT_TRUE(fs::exists("/sys/class/net/" + interface.name + "/device")) << interface.name;
    EXPECT_NE(interface.name, "lo");
  }
}

struct IdentityFilesCase {
  const char* name;
  std::optional<std::string> productUuid;
  std::optional<std::string> machineId;
  std::optional<std::string> expected;
};

void PrintTo(const IdentityFilesCase& testCase, std::ostream* out) { *out << testCase.name; }

class LinuxHardwareIdentityTest : public ::testing::TestWithParam<IdentityFilesCase> {};

TEST_P(LinuxHardwareIdentityTest, PrefersDmiThenTheMachineId) {
  const testing::ScratchDirectory root;
  const std::string product = root.path() + "/product_uuid";
  const std::string machine = root.path() + "/machine-id";
  if (GetParam().productUuid) writeText(product, *GetParam().productUuid);
  if (GetParam().machineId) writeText(machine, *GetParam().machineId);
  EXPECT_EQ(LinuxHardwareIdentity(product, machine).platformUuid(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Files, LinuxHardwareIdentityTest,
    ::testing::Values(
        IdentityFilesCase{"dmi", "4c4c4544-0042-3510-8052-b4c04f564433\n", "3d1219c7c4c5404aaa1f6d2a48adfda4\n",
                          "4c4c4544-0042-3510-8052-b4c04f564433"},
        IdentityFilesCase{"machine_id", std::nullopt, "3d1219c7c4c5404aaa1f6d2a48adfda4\n",
                          "3D1219C7-C4C5-404A-AA1F-6D2A48ADFDA4"},
        IdentityFilesCase{"empty_dmi", "", "3d1219c7c4c5404aaa1f6d2a48adfda4", "3D1219C7-C4C5-404A-AA1F-6D2A48ADFDA4"},
        IdentityFilesCase{"bad_machine_id", std::nullopt, "uninitialized\n", std::nullopt},
        IdentityFilesCase{"neither", std::nullopt, std::nullopt, std::nullopt}),
    [](const auto& testCase) { return std::string(testCase.param.name); });

TEST(SmallFileTest, AFileThatOpensButCannotBeReadIsNothing) {
  // read() of a directory fails, as that of a /proc file whose process ends after the open.
  const testing::ScratchDirectory root;
  EXPECT_EQ(readSmallFile(root.path()), std::nullopt);
}

TEST(LinuxTemporaryDirectoryTest, WritesInTmpdirElseTmp) {
  const testing::ScratchDirectory root;
  const char* saved = std::getenv("TMPDIR");
  const std::string previous = saved ? saved : "";
  ::setenv("TMPDIR", (root.path() + "/").c_str(), 1);
  LinuxTemporaryDirectory temporary;
  EXPECT_EQ(temporary.path(), root.path());
  const std::string file = temporary.path() + "/x.cer";
  EXPECT_EQ(temporary.writeFile(file, {0x30, 0x00}), std::nullopt);
  std::ifstream written(file, std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(written), {}), std::string("\x30\x00", 2));
  const auto failure = temporary.writeFile(root.path() + "/missing/x.cer", {0x30});
  ASSERT_TRUE(failure);
  EXPECT_NE(failure->find("No such file or directory"), std::string::npos) << *failure;
  ::unsetenv("TMPDIR");
  EXPECT_EQ(temporary.path(), "/tmp");
  if (saved) ::setenv("TMPDIR", previous.c_str(), 1);
}

TEST(GlibUuidGeneratorTest, FreshUpperCaseCanonicalUuids) {
  GlibUuidGenerator uuids;
  const std::string first = uuids.newUuid();
  EXPECT_TRUE(std::regex_match(first, std::regex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}")))
      << first;
  EXPECT_NE(first, uuids.newUuid());
}

}  // namespace
}  // namespace quillon
