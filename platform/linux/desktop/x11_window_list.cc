#include "platform/linux/desktop/x11_window_list.h"

#include <xcb/res.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "base/c_owner.h"
#include "platform/linux/desktop/gtk_desktop.h"
#include "platform/linux/desktop/x11_stacking.h"
#include "platform/linux/desktop/xcb_replies.h"

namespace quillon {

namespace {

using ConnectionPtr = COwner<xcb_connection_t, xcb_disconnect>;

// The atoms the list reads, interned in one batch.
enum AtomName : std::size_t {
  kCompoundText,
  kClientListStacking,
  kSupportingWmCheck,
  kWmState,
  kNetWmState,
  kWmStateHidden,
  kWmPid,
  kWmName,
  kUtf8String,
  kFrameExtents,
  kAtomCount
};

constexpr std::array<std::string_view, kAtomCount> kAtomNames = {
    "COMPOUND_TEXT",        "_NET_CLIENT_LIST_STACKING", "_NET_SUPPORTING_WM_CHECK",
    "WM_STATE",             "_NET_WM_STATE",             "_NET_WM_STATE_HIDDEN",
    "_NET_WM_PID",          "_NET_WM_NAME",              "UTF8_STRING",
    "_NET_FRAME_EXTENTS",
};

using Atoms = std::array<xcb_atom_t, kAtomCount>;

Atoms internAtoms(xcb_connection_t* connection) {
  std::array<xcb_intern_atom_cookie_t, kAtomCount> cookies{};
  for (std::size_t index = 0; index < kAtomCount; ++index) {
    cookies[index] = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(kAtomNames[index].size()),
                                     kAtomNames[index].data());
  }
  Atoms atoms{};
  for (std::size_t index = 0; index < kAtomCount; ++index) {
    auto reply = answerTo(xcb_intern_atom_reply, connection, cookies[index]);
    atoms[index] = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  }
  return atoms;
}

const xcb_screen_t* screenOf(xcb_connection_t* connection, int number) {
  for (auto it = xcb_setup_roots_iterator(xcb_get_setup(connection)); it.rem > 0; xcb_screen_next(&it), --number) {
    if (number == 0) return it.data;
  }
  return nullptr;
}

bool hasResourceExtension(xcb_connection_t* connection) {
  const xcb_query_extension_reply_t* extension = xcb_get_extension_data(connection, &xcb_res_id);
  if (extension == nullptr || extension->present == 0) return false;
  auto version = answerTo(xcb_res_query_version_reply, connection, xcb_res_query_version(connection, 1, 2));
  return version && (version->server_major > 1 || (version->server_major == 1 && version->server_minor >= 2));
}

// Every question about one window, sent before any answer is awaited, so that
// the whole list costs a few round trips rather than several per window. The
// client is asked for what the application set; the top-level for where it
// stands. A frame that the window manager only describes (_NET_FRAME_EXTENTS)
// is asked for where the client is its own top-level.
struct WindowQuestions {
  xcb_get_window_attributes_cookie_t attributes{};
  xcb_get_geometry_cookie_t geometry{};
  xcb_translate_coordinates_cookie_t origin{};
  xcb_get_property_cookie_t state{};
  xcb_get_property_cookie_t netName{};
  xcb_get_property_cookie_t legacyName{};
  std::optional<xcb_get_property_cookie_t> frameExtents;
  xcb_get_property_cookie_t pid{};
  std::optional<xcb_res_query_client_ids_cookie_t> clientIds;
};

WindowQuestions ask(xcb_connection_t* connection, const StackedWindow& window, xcb_window_t root, const Atoms& atoms,
                    bool haveXRes) {
  const xcb_window_t client = window.client;
  WindowQuestions questions;
  questions.attributes = xcb_get_window_attributes(connection, client);
  questions.geometry = xcb_get_geometry(connection, window.topLevel);
  questions.origin = xcb_translate_coordinates(connection, window.topLevel, root, 0, 0);
  questions.state = askProperty(connection, client, atoms[kNetWmState], XCB_ATOM_ATOM);
  questions.netName = askProperty(connection, client, atoms[kWmName], atoms[kUtf8String]);
  questions.legacyName = askProperty(connection, client, XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY);
  if (window.topLevel == client) {
    questions.frameExtents = askProperty(connection, client, atoms[kFrameExtents], XCB_ATOM_CARDINAL);
  }
  questions.pid = askProperty(connection, client, atoms[kWmPid], XCB_ATOM_CARDINAL);
  if (haveXRes) {
    const xcb_res_client_id_spec_t pidOfOwner{client, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    questions.clientIds = xcb_res_query_client_ids(connection, 1, &pidOfOwner);
  }
  return questions;
}

// Drops the answers still pending for a window that is passed over (its
// attributes and state have been read).
void discard(xcb_connection_t* connection, const WindowQuestions& questions) {
  for (const xcb_get_property_cookie_t cookie : {questions.netName, questions.legacyName, questions.pid}) {
    xcb_discard_reply(connection, cookie.sequence);
  }
  if (questions.frameExtents) xcb_discard_reply(connection, questions.frameExtents->sequence);
  xcb_discard_reply(connection, questions.geometry.sequence);
  xcb_discard_reply(connection, questions.origin.sequence);
  if (questions.clientIds) xcb_discard_reply(connection, questions.clientIds->sequence);
}

// The client's pid as the X server knows it from the connection, which the
// client cannot falsify.
std::optional<std::int64_t> pidFromResourceExtension(xcb_connection_t* connection,
                                                     xcb_res_query_client_ids_cookie_t cookie) {
  auto reply = answerTo(xcb_res_query_client_ids_reply, connection, cookie);
  if (!reply) return std::nullopt;
  // Only the pid was asked for, so the server answers pid values alone.
  for (auto it = xcb_res_query_client_ids_ids_iterator(reply.get()); it.rem > 0; xcb_res_client_id_value_next(&it)) {
    if (xcb_res_client_id_value_value_length(it.data) < 1) continue;
    return static_cast<std::int64_t>(*xcb_res_client_id_value_value(it.data));
  }
  return std::nullopt;
}

std::optional<std::int64_t> ownerProcessId(xcb_connection_t* connection, const WindowQuestions& questions) {
  std::optional<std::int64_t> pid;
  if (questions.clientIds) pid = pidFromResourceExtension(connection, *questions.clientIds);
  const auto claimed = items32(connection, questions.pid);
  if (!pid && !claimed.empty()) pid = static_cast<std::int64_t>(claimed.front());
  return pid;
}

// Latin-1 text as UTF-8.
std::string utf8FromLatin1(std::string_view text) {
  std::string utf8;
  for (const char byte : text) {
    const auto c = static_cast<unsigned char>(byte);
    if (c < 0x80) {
      utf8.push_back(static_cast<char>(c));
    } else {
      utf8.push_back(static_cast<char>(0xC0 | (c >> 6)));
      utf8.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }
  return utf8;
}

// WM_NAME as UTF-8: STRING is Latin-1, UTF8_STRING is UTF-8 already, and
// COMPOUND_TEXT reads as Latin-1 when it stays in its initial character sets
// (no escape sequence switches to another); other text has no name to give.
std::optional<std::string> convertLegacyName(const xcb_get_property_reply_t& reply, const Atoms& atoms) {
  const std::string_view text(static_cast<const char*>(xcb_get_property_value(&reply)),
                              static_cast<std::size_t>(xcb_get_property_value_length(&reply)));
  if (reply.type == atoms[kUtf8String]) return std::string(text);
  const bool switchesCharacterSet = text.find('\x1B') != std::string_view::npos ||
                                    text.find('\x9B') != std::string_view::npos;
  if (reply.type == XCB_ATOM_STRING || (reply.type == atoms[kCompoundText] && !switchesCharacterSet)) {
    return utf8FromLatin1(text);
  }
  return std::nullopt;
}

std::optional<std::string> windowName(xcb_connection_t* connection, const WindowQuestions& questions,
                                      const Atoms& atoms) {
  auto netName = answerTo(xcb_get_property_reply, connection, questions.netName);
  auto legacyName = answerTo(xcb_get_property_reply, connection, questions.legacyName);
  if (netName && netName->format == 8 && netName->type != XCB_ATOM_NONE) {
    const auto* text = static_cast<const char*>(xcb_get_property_value(netName.get()));
    return std::string(text, static_cast<std::size_t>(xcb_get_property_value_length(netName.get())));
  }
  if (!legacyName || legacyName->type == XCB_ATOM_NONE || legacyName->format != 8) return std::nullopt;
  return convertLegacyName(*legacyName, atoms);
}

// The window's outer rectangle in root coordinates, in points: the top-level's
// own area, pushed out by the frame that the window manager describes, divided
// by the device pixels per point.
std::optional<WindowBounds> outerBounds(xcb_connection_t* connection, const WindowQuestions& questions,
                                        double pixelsPerPoint) {
  auto geometry = answerTo(xcb_get_geometry_reply, connection, questions.geometry);
  auto origin = answerTo(xcb_translate_coordinates_reply, connection, questions.origin);
  const auto extents =
      questions.frameExtents ? items32(connection, *questions.frameExtents) : std::vector<std::uint32_t>{};
  if (!geometry || !origin) return std::nullopt;
  double left = 0.0, right = 0.0, top = 0.0, bottom = 0.0;
  if (extents.size() >= 4) {
    left = extents[0];
    right = extents[1];
    top = extents[2];
    bottom = extents[3];
  }
  return WindowBounds{
      .x = (origin->dst_x - left) / pixelsPerPoint,
      .y = (origin->dst_y - top) / pixelsPerPoint,
      .width = (geometry->width + left + right) / pixelsPerPoint,
      .height = (geometry->height + top + bottom) / pixelsPerPoint,
  };
}

bool isHidden(xcb_connection_t* connection, const WindowQuestions& questions, const Atoms& atoms) {
  const auto states = items32(connection, questions.state);
  return std::find(states.begin(), states.end(), atoms[kWmStateHidden]) != states.end();
}

// The entry for one window, or nothing when it is not on screen (unmapped, an
// input-only window, minimised, or gone meanwhile).
std::optional<WindowListEntry> answer(xcb_connection_t* connection, const WindowQuestions& questions,
                                      const Atoms& atoms, double pixelsPerPoint) {
  auto attributes = answerTo(xcb_get_window_attributes_reply, connection, questions.attributes);
  const bool hidden = isHidden(connection, questions, atoms);
  if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
      attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY || hidden) {
    discard(connection, questions);
    return std::nullopt;
  }
  WindowListEntry entry;
  entry.bounds = outerBounds(connection, questions, pixelsPerPoint);
  entry.name = windowName(connection, questions, atoms);
  entry.ownerProcessId = ownerProcessId(connection, questions);
  return entry;
}

}  // namespace

std::optional<std::vector<WindowListEntry>> X11WindowList::onScreenWindows() {
  const std::optional<int> scale = pixelsPerPoint_();
  if (!scale || *scale < 1) return std::nullopt;
  int screenNumber = 0;
  const ConnectionPtr owned(xcb_connect(nullptr, &screenNumber));
  xcb_connection_t* connection = owned.get();
  // A connection that failed is an object all the same, in an error state.
  if (xcb_connection_has_error(connection) != 0) return std::nullopt;
  const xcb_screen_t* screen = screenOf(connection, screenNumber);
  if (screen == nullptr) return std::nullopt;
  const xcb_window_t root = screen->root;
  const Atoms atoms = internAtoms(connection);
  const bool haveXRes = hasResourceExtension(connection);

  const std::vector<StackedWindow> windows = stackedWindowsFrontFirst(
      connection, root, StackingAtoms{atoms[kSupportingWmCheck], atoms[kClientListStacking], atoms[kWmState]});
  std::vector<WindowQuestions> questions;
  questions.reserve(windows.size());
  for (const StackedWindow& window : windows) questions.push_back(ask(connection, window, root, atoms, haveXRes));
  std::vector<WindowListEntry> entries;
  for (const WindowQuestions& window : questions) {
    if (auto entry = answer(connection, window, atoms, *scale)) entries.push_back(std::move(*entry));
  }
  return entries;
}

}  // namespace quillon
