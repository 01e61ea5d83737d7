#include "platform/linux/flutter_bundle_locator.h"

#include <gtest/gtest.h>

#include <stdlib.h>

#include <filesystem>

namespace quillon {
namespace {

namespace fs = std::filesystem;

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
