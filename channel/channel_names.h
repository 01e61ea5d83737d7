// The names of the two channels that the host and the interface share.
#pragma once

namespace quillon {

// The native command channel: the maker's web host name, then "/quillon/macos".
inline constexpr char kNativeCommandChannel[] = "quillon.app/quillon/macos";
// The close handshake: "onAppCloseRequested" from the host, "forceQuitApp" from the interface.
inline constexpr char kAppCloseChannel[] = "app_close_channel";

}  // namespace quillon
