// COwner: sole owner of a C library's handle that must outlive a scope (a
// member, a return value), released by the library's own function when the
// owner goes away. Handles that live in one scope use GLib's g_autoptr and
// g_autofree instead, where GLib or the library defines them.
#pragma once

#include <memory>

namespace quillon {

template <auto Release>
struct ReleasedBy {
  template <typename T>
  void operator()(T* handle) const {
    Release(handle);
  }
};

template <typename T, auto Release>
using COwner = std::unique_ptr<T, ReleasedBy<Release>>;

}  // namespace quillon
