// Engine: the stand-in for the Flutter engine. It owns the binary messenger and
// the interface link, the local socket through which interface processes talk
// to the host, and serves them on the GLib default main context.
//
// Contract: start() once, on the main thread, before the main loop runs;
// shutdown() closes every connection and removes the socket file, and is also
// done by the destructor. The messenger lives as long as the engine. When the
// socket lies in the host's own default directory, that directory must belong
// to the user and is kept at mode 0700.
#pragma once

#include <memory>
#include <string>

#include "base/expected.h"
#include "embedding/binary_messenger.h"

namespace quillon {

class Engine {
 public:
  // The socket path: the engine switch QUILLON_INTERFACE_SOCKET when set, else
  // $XDG_RUNTIME_DIR/quillon-host/interface.sock, else
  // /tmp/quillon-host-<uid>/interface.sock.
  static std::string interfaceSocketPath();
  // The same without the switch: where a client finds the host by itself.
  static std::string defaultSocketPath();

  explicit Engine(std::string socketPath = interfaceSocketPath());
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
  ~Engine();

  // Starts serving the link. Fails with the reason, for instance when another
  // host already serves the path.
  Expected<void> start();
  void shutdown();
  // Whether start() failed because a live host answers on the socket path.
  bool anotherHostServes() const;

  BinaryMessenger& binaryMessenger();
  const std::string& socketPath() const;

  // Tells `observer` of the link's traffic from now on (see LinkObserver); it
  // must outlive the engine, which tells it of the connections it closes.
  void setObserver(LinkObserver* observer);

 private:
  class Link;
  std::unique_ptr<Link> link_;
};

}  // namespace quillon
