// HostProcess: the built host started for an end-to-end test in a bundle of its
// own: a temporary directory holding a copy of the host executable, its data/
// directory (without the two helpers) and the socket's directory.
// ScriptedHost: a stand-in host for testing clients.
//
// Contract: the temporary directory and the host go away with this object; the
// host is stopped ("forceQuitApp", then SIGKILL after a deadline) and reaped.
#pragma once

#include <sys/un.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/child_process.h"
#include "tools/link_client.h"

namespace quillon::testing {

// The address of the Unix socket at `path`, cut to the size an address holds.
sockaddr_un addressOf(const std::string& path);
// Whether something accepts connections on the Unix socket at `path`.
bool acceptsConnections(const std::string& path);

class HostProcess {
 public:
  struct Layout {
    // Take DISPLAY (and WAYLAND_DISPLAY) away: the host runs without windows.
    bool headless = false;
    // More variables for the host, over the bundle's own.
    ChildProcess::Environment environment = {};
    // A program and its arguments that start the host, whose path is added
    // last (for instance a private mount namespace); none: the host itself.
    std::vector<std::string> launcher = {};
    // The bundle directory's name, any bytes.
    std::string bundleName = "bundle";
  };

  explicit HostProcess(Layout layout);
  HostProcess(const HostProcess&) = delete;
  HostProcess& operator=(const HostProcess&) = delete;
  ~HostProcess();

  // Starts the host under test.
  void start() { host_ = spawnHost("host"); }
  // Another host of the same bundle on the same socket, with `extra` in its environment; its output goes to
  // the files `name`.out and `name`.err.
  std::unique_ptr<ChildProcess> spawnHost(const std::string& name, const ChildProcess::Environment& extra = {}) const;
  // Whether the socket accepts connections before the deadline, while the host runs.
  bool waitReady(std::chrono::milliseconds timeout = std::chrono::seconds(20));
  // Stops the host as the interface does, with "forceQuitApp" on the close
  // channel (a signal only offers the quit), and answers its exit status.
  std::optional<int> stop();
  void signal(int number) { host_->signal(number); }
  pid_t pid() const { return host_->pid(); }
  std::optional<int> waitExit(std::chrono::milliseconds timeout) { return host_->waitExit(timeout); }

  const std::string& directory() const { return scratch_.path(); }
  std::string executablePath() const { return bundlePath() + "/quillon-host"; }
  std::string dataPath() const { return bundlePath() + "/data"; }
  const std::string& socketPath() const { return socketPath_; }
  // The environment that points a client (such as quillon-call) at this host.
  ChildProcess::Environment clientEnvironment() const;
  std::string output(const std::string& name = "host") const;
  std::string errorOutput(const std::string& name = "host") const;

 private:
  std::string bundlePath() const { return directory() + "/" + layout_.bundleName; }

  Layout layout_;
  ScratchDirectory scratch_;
  std::string socketPath_;
  std::unique_ptr<ChildProcess> host_;
};

// Listens on `socketPath`, accepts one connection and runs `script` against it
// on a thread of its own. Connections that close without a word (a starting
// host's probe of whether the socket is live) are passed over. The destructor
// waits for the script; a script that finds no client within 20 s is not run.
class ScriptedHost {
 public:
  ScriptedHost(const std::string& socketPath, std::function<void(LinkClient& client)> script);
  ScriptedHost(const ScriptedHost&) = delete;
  ScriptedHost& operator=(const ScriptedHost&) = delete;
  ~ScriptedHost() { thread_.join(); }

 private:
  UniqueFd listener_;
  std::thread thread_;
};

}  // namespace quillon::testing
