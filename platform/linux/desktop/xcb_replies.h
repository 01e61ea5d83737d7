// Reading XCB answers: each reply is owned and freed with free(), as XCB
// allocates it, and an X error (a window gone meanwhile) comes back as no
// answer and is dropped, never reaching Xlib's process-wide error handler.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <type_traits>
#include <vector>

#include "base/c_owner.h"

namespace quillon {

inline void freeReply(void* reply) { std::free(reply); }

template <typename Reply>
using ReplyPtr = COwner<Reply, freeReply>;

// The answer to one question, or nothing.
template <typename Fetch, typename Cookie>
auto answerTo(Fetch fetchReply, xcb_connection_t* connection, Cookie cookie) {
  xcb_generic_error_t* error = nullptr;
  auto* reply = fetchReply(connection, cookie, &error);
  std::free(error);
  return ReplyPtr<std::remove_pointer_t<decltype(reply)>>(reply);
}

inline xcb_get_property_cookie_t askProperty(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t name,
                                             xcb_atom_t type) {
  return xcb_get_property(connection, 0, window, name, type, 0, 1 << 16);
}

// A format-32 property's items. (XCB hands them over as 32-bit values; Xlib
// would widen them to longs.)
inline std::vector<std::uint32_t> items32(xcb_connection_t* connection, xcb_get_property_cookie_t cookie) {
  auto reply = answerTo(xcb_get_property_reply, connection, cookie);
  if (!reply || reply->format != 32) return {};
  const auto* items = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
  return std::vector<std::uint32_t>(items, items + xcb_get_property_value_length(reply.get()) / 4);
}

// The children of a window, bottom-most first, as XQueryTree gives them.
inline std::vector<xcb_window_t> childrenOf(const xcb_query_tree_reply_t* tree) {
  if (tree == nullptr) return {};
  const xcb_window_t* first = xcb_query_tree_children(tree);
  return std::vector<xcb_window_t>(first, first + xcb_query_tree_children_length(tree));
}

}  // namespace quillon
