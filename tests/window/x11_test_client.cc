// A plain X client for the desktop tests: opens the windows its arguments
// describe, then serves X events until it is terminated.
//
//   x11_test_client [--legacy-name] [--minimised] [--false-pid] NAME WIDTHxHEIGHT+X+Y ...
//
// Each window takes the options that precede it. --legacy-name sets WM_NAME
// only (no _NET_WM_NAME); --minimised iconifies the window once mapped;
// --false-pid puts pid 1 in _NET_WM_PID, which the window list must not believe.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct WindowToOpen {
  std::string name;
  int x = 0, y = 0;
  unsigned width = 0, height = 0;
  bool legacyName = false;
  bool minimised = false;
  bool falsePid = false;
};

bool parse(int argc, char** argv, std::vector<WindowToOpen>& wanted) {
  WindowToOpen next;
  for (int index = 1; index < argc; ++index) {
    const std::string argument = argv[index];
    if (argument == "--legacy-name") {
      next.legacyName = true;
    } else if (argument == "--minimised") {
      next.minimised = true;
    } else if (argument == "--false-pid") {
      next.falsePid = true;
    } else if (index + 1 < argc) {
      next.name = argument;
      if (std::sscanf(argv[++index], "%ux%u+%d+%d", &next.width, &next.height, &next.x, &next.y) != 4) return false;
      wanted.push_back(next);
      next = WindowToOpen{};
    } else {
      return false;
    }
  }
  return !wanted.empty();
}

Window open(Display* display, const WindowToOpen& described) {
  const int screen = DefaultScreen(display);
  const Window window = XCreateSimpleWindow(display, RootWindow(display, screen), described.x, described.y, described.width,
                                            described.height, 0, BlackPixel(display, screen), WhitePixel(display, screen));
  XSizeHints hints{};
  hints.flags = USPosition | USSize;
  hints.x = described.x;
  hints.y = described.y;
  hints.width = static_cast<int>(described.width);
  hints.height = static_cast<int>(described.height);
  XSetWMNormalHints(display, window, &hints);
  XStoreName(display, window, described.name.c_str());
  if (!described.legacyName) {
    XChangeProperty(display, window, XInternAtom(display, "_NET_WM_NAME", False),
                    XInternAtom(display, "UTF8_STRING", False), 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(described.name.data()), static_cast<int>(described.name.size()));
  }
  if (described.falsePid) {
    const long pid = 1;
    XChangeProperty(display, window, XInternAtom(display, "_NET_WM_PID", False), XA_CARDINAL, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&pid), 1);
  }
  XSelectInput(display, window, StructureNotifyMask);
  XMapWindow(display, window);
  return window;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<WindowToOpen> wanted;
  if (!parse(argc, argv, wanted)) {
    std::fprintf(stderr, "usage: x11_test_client [--legacy-name] [--minimised] [--false-pid] NAME WxH+X+Y ...\n");
    return 2;
  }
  Display* display = XOpenDisplay(nullptr);
  if (display == nullptr) return 1;
  std::vector<Window> windows;
  for (const WindowToOpen& described : wanted) windows.push_back(open(display, described));
  XFlush(display);
  for (;;) {
    XEvent event;
    XNextEvent(display, &event);
    if (event.type != MapNotify) continue;
    for (std::size_t index = 0; index < windows.size(); ++index) {
      if (windows[index] == event.xmap.window && wanted[index].minimised) {
        XIconifyWindow(display, windows[index], DefaultScreen(display));
        XFlush(display);
      }
    }
  }
}
