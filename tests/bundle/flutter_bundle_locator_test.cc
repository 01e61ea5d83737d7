#include "platform/linux/flutter_bundle_locator.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace quillon {
namespace {

namespace fs = std::filesystem;

class FlutterBundleLocatorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = fs::temp_directory_path() / ("quillon-bundle-" + std::to_string(::getpid()));
    fs::create_directories(root_ / "bundle");
    fs::create_symlink(root_ / "bundle" / "quillon-host", root_ / "exe");
  }
  void TearDown() override { fs::remove_all(root_); }

  fs::path root_;
};

TEST_F(FlutterBundleLocatorTest, ResourcesAreTheDataDirectoryBesideTheExecutable) {
  fs::create_directories(root_ / "bundle" / "data");
  const FlutterBundleLocator locator((root_ / "exe").string());
  EXPECT_EQ(locator.executablePath(), (root_ / "bundle" / "quillon-host").string());
  EXPECT_EQ(locator.resourcePath(), (root_ / "bundle" / "data").string());
}

TEST_F(FlutterBundleLocatorTest, NoDataDirectoryMeansNoResources) {
  const FlutterBundleLocator locator((root_ / "exe").string());
  EXPECT_EQ(locator.resourcePath(), std::nullopt);
}

TEST_F(FlutterBundleLocatorTest, UnreadableLinkMeansNoExecutable) {
  const FlutterBundleLocator locator((root_ / "missing").string());
  EXPECT_EQ(locator.executablePath(), std::nullopt);
  EXPECT_EQ(locator.resourcePath(), std::nullopt);
}

}  // namespace
}  // namespace quillon
