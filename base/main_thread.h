// The main thread: the one that started the process, where the GLib main loop
// runs and every call arrives. Code that must not run elsewhere says so with
// CHECK(onMainThread()).
#pragma once

#include <thread>

namespace quillon {

// Taken while the program's statics are initialised, before main() runs.
inline const std::thread::id kMainThreadId = std::this_thread::get_id();

inline bool onMainThread() { return std::this_thread::get_id() == kMainThreadId; }

}  // namespace quillon
