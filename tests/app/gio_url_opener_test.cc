// The desktop's URL handlers through GIO, with a desktop of the test's own: a
// data and a configuration directory that register one handler for the scheme
// "quillon-test", an application that writes the URL it is given to a file.
#include "platform/linux/gio_url_opener.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/support/child_process.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class GioUrlOpenerTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    root_ = new fs::path(fs::temp_directory_path() / ("quillon-urls-" + std::to_string(::getpid())));
    fs::create_directories(*root_ / "data/applications");
    fs::create_directories(*root_ / "config");
    std::ofstream(*root_ / "data/applications/quillon-test.desktop")
        << "[Desktop Entry]\nType=Application\nName=Quillon test handler\n"
        << "Exec=/bin/sh -c 'printf %s \"$1\" > " << (*root_ / "opened").string() << "' sh %u\n"
        << "MimeType=x-scheme-handler/quillon-test;\nNoDisplay=true\n";
    std::ofstream(*root_ / "config/mimeapps.list")
        << "[Default Applications]\nx-scheme-handler/quillon-test=quillon-test.desktop\n";
    // GIO reads these once, on first use: set before any test touches it.
    ::setenv("XDG_DATA_HOME", (*root_ / "data").c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (*root_ / "config").c_str(), 1);
    ::setenv("XDG_DATA_DIRS", (*root_ / "none").c_str(), 1);
    ::setenv("XDG_CONFIG_DIRS", (*root_ / "none").c_str(), 1);
  }

  static void TearDownTestSuite() {
    std::error_code ignored;
    fs::remove_all(*root_, ignored);
    delete root_;
  }

  static fs::path* root_;
  GioUrlOpener opener_;
};

fs::path* GioUrlOpenerTest::root_ = nullptr;

TEST_F(GioUrlOpenerTest, KnowsTheSchemesThatHaveAHandler) {
  EXPECT_TRUE(opener_.canOpen("quillon-test://host/path"));
  EXPECT_FALSE(opener_.canOpen("quillon-nothing://host"));
  EXPECT_FALSE(opener_.canOpen("no scheme at all"));
  EXPECT_FALSE(opener_.canOpen(""));
}

TEST_F(GioUrlOpenerTest, OpensTheUrlWithItsHandler) {
  const fs::path opened = *root_ / "opened";
  EXPECT_EQ(opener_.open("quillon-test://host/path?x=1"), std::nullopt);
  EXPECT_TRUE(testing::waitUntil([&] { return fs::exists(opened) && fs::file_size(opened) > 0; }, 20s));
  EXPECT_EQ(testing::readFile(opened.string()), "quillon-test://host/path?x=1");
}

TEST_F(GioUrlOpenerTest, AnUnhandledSchemeAnswersTheReason) {
  const std::optional<std::string> failure = opener_.open("quillon-nothing://host");
  ASSERT_TRUE(failure);
  EXPECT_FALSE(failure->empty());
}

}  // namespace
}  // namespace quillon
