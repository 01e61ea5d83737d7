#include "platform/linux/x11_window_list.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XRes.h>

#include <algorithm>
#include <memory>

namespace quillon {

namespace {

using DisplayPtr = std::unique_ptr<Display, decltype(&XCloseDisplay)>;

// Absorbs the X errors of one connection while it is read, such as BadWindow for
// a window closed since the list was taken; other connections' errors go to the
// handler that was installed before. Main thread only, like all Xlib use here.
class ErrorTrap {
 public:
  explicit ErrorTrap(Display* display) {
    trapped_ = display;
    previous_ = XSetErrorHandler(&handle);
  }
  ~ErrorTrap() {
    XSync(trapped_, False);
    XSetErrorHandler(previous_);
    trapped_ = nullptr;
    previous_ = nullptr;
  }
  ErrorTrap(const ErrorTrap&) = delete;
  ErrorTrap& operator=(const ErrorTrap&) = delete;

 private:
  static int handle(Display* display, XErrorEvent* event) {
    if (display == trapped_ || previous_ == nullptr) return 0;
    return previous_(display, event);
  }

  static inline Display* trapped_ = nullptr;
  static inline XErrorHandler previous_ = nullptr;
};

// A window property as X returns it; format-32 items come back as longs.
class Property {
 public:
  Property(Display* display, Window window, Atom name, Atom type) {
    Atom actualType = None;
    int format = 0;
    unsigned long after = 0;
    if (XGetWindowProperty(display, window, name, 0, 1 << 16, False, type, &actualType, &format, &count_, &after,
                           &data_) != Success) {
      data_ = nullptr;
      count_ = 0;
    }
    if (data_ != nullptr && (actualType != type || format == 0)) count_ = 0;
    format_ = format;
  }
  ~Property() {
    if (data_ != nullptr) XFree(data_);
  }
  Property(const Property&) = delete;
  Property& operator=(const Property&) = delete;

  bool found() const { return data_ != nullptr && count_ > 0; }
  std::optional<long> firstLong() const {
    if (format_ != 32 || !found()) return std::nullopt;
    return *reinterpret_cast<const long*>(data_);
  }
  std::vector<long> longs() const {
    if (format_ != 32 || data_ == nullptr) return {};
    const long* items = reinterpret_cast<const long*>(data_);
    return std::vector<long>(items, items + count_);
  }
  std::string text() const {
    if (format_ != 8 || data_ == nullptr) return {};
    return std::string(reinterpret_cast<const char*>(data_), count_);
  }

 private:
  unsigned char* data_ = nullptr;
  unsigned long count_ = 0;
  int format_ = 0;
};

struct Atoms {
  explicit Atoms(Display* display)
      : clientListStacking(XInternAtom(display, "_NET_CLIENT_LIST_STACKING", False)),
        supportingWmCheck(XInternAtom(display, "_NET_SUPPORTING_WM_CHECK", False)),
        wmState(XInternAtom(display, "_NET_WM_STATE", False)),
        wmStateHidden(XInternAtom(display, "_NET_WM_STATE_HIDDEN", False)),
        wmPid(XInternAtom(display, "_NET_WM_PID", False)),
        wmName(XInternAtom(display, "_NET_WM_NAME", False)),
        utf8String(XInternAtom(display, "UTF8_STRING", False)),
        frameExtents(XInternAtom(display, "_NET_FRAME_EXTENTS", False)) {}

  Atom clientListStacking;
  Atom supportingWmCheck;
  Atom wmState;
  Atom wmStateHidden;
  Atom wmPid;
  Atom wmName;
  Atom utf8String;
  Atom frameExtents;
};

bool windowManagerRuns(Display* display, Window root, const Atoms& atoms) {
  const Property check(display, root, atoms.supportingWmCheck, XA_WINDOW);
  return check.firstLong().value_or(0) != 0;
}

// Top-level windows, bottom-most first, as X and the window manager keep them.
std::vector<Window> stackingBottomUp(Display* display, Window root, const Atoms& atoms) {
  std::vector<Window> windows;
  if (windowManagerRuns(display, root, atoms)) {
    const Property list(display, root, atoms.clientListStacking, XA_WINDOW);
    if (list.found()) {
      for (long id : list.longs()) windows.push_back(static_cast<Window>(id));
      return windows;
    }
  }
  Window rootReturn = None;
  Window parent = None;
  Window* children = nullptr;
  unsigned int count = 0;
  if (XQueryTree(display, root, &rootReturn, &parent, &children, &count) != 0 && children != nullptr) {
    windows.assign(children, children + count);
    XFree(children);
  }
  return windows;
}

bool isHidden(Display* display, Window window, const Atoms& atoms) {
  const Property state(display, window, atoms.wmState, XA_ATOM);
  const auto states = state.longs();
  return std::find(states.begin(), states.end(), static_cast<long>(atoms.wmStateHidden)) != states.end();
}

std::optional<std::int64_t> ownerFromResourceExtension(Display* display, Window window) {
  XResClientIdSpec spec{window, XRES_CLIENT_ID_PID_MASK};
  long count = 0;
  XResClientIdValue* values = nullptr;
  if (XResQueryClientIds(display, 1, &spec, &count, &values) != Success) return std::nullopt;
  std::optional<std::int64_t> pid;
  for (long index = 0; index < count && !pid; ++index) {
    const pid_t candidate = XResGetClientPid(&values[index]);
    if (candidate > 0) pid = candidate;
  }
  XResClientIdsDestroy(count, values);
  return pid;
}

std::optional<std::int64_t> ownerProcessId(Display* display, Window window, const Atoms& atoms, bool haveXRes) {
  if (haveXRes) {
    if (auto pid = ownerFromResourceExtension(display, window)) return pid;
  }
  const Property pid(display, window, atoms.wmPid, XA_CARDINAL);
  return pid.firstLong();
}

std::optional<std::string> windowName(Display* display, Window window, const Atoms& atoms) {
  const Property netName(display, window, atoms.wmName, atoms.utf8String);
  if (netName.found()) return netName.text();
  XTextProperty property{};
  if (XGetWMName(display, window, &property) == 0 || property.value == nullptr) return std::nullopt;
  std::optional<std::string> name;
  char** list = nullptr;
  int count = 0;
  if (Xutf8TextPropertyToTextList(display, &property, &list, &count) >= Success && list != nullptr) {
    name = count > 0 && list[0] != nullptr ? std::string(list[0]) : std::string();
    XFreeStringList(list);
  }
  XFree(property.value);
  return name;
}

// The window's outer rectangle in root coordinates: its own area, pushed out by
// the frame that the window manager drew around it.
std::optional<WindowBounds> outerBounds(Display* display, Window window, Window root,
                                        const XWindowAttributes& attributes, const Atoms& atoms) {
  int x = 0;
  int y = 0;
  Window child = None;
  if (XTranslateCoordinates(display, window, root, 0, 0, &x, &y, &child) == 0) return std::nullopt;
  long left = 0, right = 0, top = 0, bottom = 0;
  const Property extents(display, window, atoms.frameExtents, XA_CARDINAL);
  if (const auto values = extents.longs(); values.size() >= 4) {
    left = values[0];
    right = values[1];
    top = values[2];
    bottom = values[3];
  }
  return WindowBounds{
      .x = static_cast<double>(x - left),
      .y = static_cast<double>(y - top),
      .width = static_cast<double>(attributes.width + left + right),
      .height = static_cast<double>(attributes.height + top + bottom),
  };
}

bool hasResourceExtension(Display* display) {
  int event = 0;
  int error = 0;
  int major = 0;
  int minor = 0;
  return XResQueryExtension(display, &event, &error) != 0 && XResQueryVersion(display, &major, &minor) != 0 &&
         (major > 1 || (major == 1 && minor >= 2));
}

}  // namespace

std::optional<std::vector<WindowListEntry>> X11WindowList::onScreenWindows() {
  const DisplayPtr display(XOpenDisplay(nullptr), &XCloseDisplay);
  if (!display) return std::nullopt;
  const ErrorTrap trap(display.get());
  const Atoms atoms(display.get());
  const Window root = DefaultRootWindow(display.get());
  const bool haveXRes = hasResourceExtension(display.get());

  std::vector<Window> windows = stackingBottomUp(display.get(), root, atoms);
  std::vector<WindowListEntry> entries;
  for (auto it = windows.rbegin(); it != windows.rend(); ++it) {
    XWindowAttributes attributes{};
    if (XGetWindowAttributes(display.get(), *it, &attributes) == 0) continue;
    if (attributes.map_state != IsViewable || attributes.c_class == InputOnly) continue;
    if (isHidden(display.get(), *it, atoms)) continue;
    entries.push_back(WindowListEntry{
        .ownerProcessId = ownerProcessId(display.get(), *it, atoms, haveXRes),
        .name = windowName(display.get(), *it, atoms),
        .bounds = outerBounds(display.get(), *it, root, attributes, atoms),
    });
  }
  return entries;
}

}  // namespace quillon
