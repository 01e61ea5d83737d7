// RunningHost: the built quillon-host started as a child process on a private
// socket, with or without the test's display, and connections to it as the
// interface would make them. Every wait has a deadline; the destructor kills
// and reaps a host that is still running.
#pragma once

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "channel/standard_codec.h"
#include "tools/link_client.h"

extern char** environ;

namespace quillon::testing {

using namespace std::chrono_literals;

class RunningHost {
 public:
  enum class Display { none, inherited };

  explicit RunningHost(Display display) {
    directory_ = std::filesystem::temp_directory_path() /
                 ("quillon-shell-" + std::to_string(::getpid()) + "-" + std::to_string(++started_));
    std::filesystem::create_directories(directory_);
    socket_ = (directory_ / "interface.sock").string();
    std::vector<std::string> environment = {"QUILLON_INTERFACE_SOCKET=" + socket_};
    for (char** entry = environ; *entry != nullptr; ++entry) {
      const std::string variable(*entry);
      if (variable.starts_with("QUILLON_INTERFACE_SOCKET=")) continue;
      if (display == Display::none && (variable.starts_with("DISPLAY=") || variable.starts_with("WAYLAND_DISPLAY="))) {
        continue;
      }
      environment.push_back(variable);
    }
    std::vector<char*> envp;
    for (std::string& variable : environment) envp.push_back(variable.data());
    envp.push_back(nullptr);
    std::string program = QUILLON_HOST_PATH;
    char* argv[] = {program.data(), nullptr};
    started_at_ = std::chrono::steady_clock::now();
    if (::posix_spawn(&pid_, program.c_str(), nullptr, nullptr, argv, envp.data()) != 0) pid_ = 0;
  }

  RunningHost(const RunningHost&) = delete;
  RunningHost& operator=(const RunningHost&) = delete;

  ~RunningHost() {
    if (running()) {
      ::kill(pid_, SIGKILL);
      waitForExit(5s);
    }
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }

  pid_t pid() const { return pid_; }
  std::chrono::steady_clock::time_point startedAt() const { return started_at_; }

  // A connection, once the host serves its socket (nothing after `timeout`).
  std::unique_ptr<LinkClient> connect(std::chrono::milliseconds timeout = 10s) const {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::string error;
    while (std::chrono::steady_clock::now() < deadline) {
      if (auto client = LinkClient::connect(socket_, &error)) return client;
      std::this_thread::sleep_for(5ms);
    }
    ADD_FAILURE() << "no host at " << socket_ << ": " << error;
    return nullptr;
  }

  void signal(int number) const { ::kill(pid_, number); }

  bool running() {
    if (pid_ <= 0 || status_) return false;
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) == pid_) status_ = status;
    return !status_;
  }

  // The wait status once the host has ended, or nothing after `timeout`.
  std::optional<int> waitForExit(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (running() && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(5ms);
    return status_;
  }

 private:
  static inline int started_ = 0;
  std::filesystem::path directory_;
  std::string socket_;
  pid_t pid_ = 0;
  std::optional<int> status_;
  std::chrono::steady_clock::time_point started_at_;
};

// A call on `channel` and its answer; fails the test when none comes.
inline ChannelReply callHost(LinkClient& client, const std::string& channel, const std::string& method) {
  std::string error;
  std::optional<ChannelReply> reply = client.call(channel, MethodCall{method, {}}, 10s, &error);
  if (!reply) {
    ADD_FAILURE() << method << ": " << error;
    return ChannelReply::error("TEST", error);
  }
  return *reply;
}

struct HostCall {
  std::string channel;
  MethodCall call;
  friend bool operator==(const HostCall&, const HostCall&) = default;
};

// The next call the host makes on its own, or nothing within `timeout`.
inline std::optional<HostCall> nextHostCall(LinkClient& client, std::chrono::milliseconds timeout) {
  std::string error;
  std::optional<LinkClient::HostMessage> message = client.nextMessage(timeout, &error);
  if (!message) return std::nullopt;
  std::optional<MethodCall> call = StandardCodec::decodeMethodCall(message->payload, &error);
  EXPECT_TRUE(call) << error;
  if (!call) return std::nullopt;
  return HostCall{message->channel, std::move(*call)};
}

inline const HostCall kCloseRequest{"app_close_channel", MethodCall{"onAppCloseRequested", {}}};

}  // namespace quillon::testing
