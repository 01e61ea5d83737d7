// A plain X client for the desktop tests: opens the windows its arguments
// describe, then serves X events until it is terminated.
//
//   x11_test_client [--legacy-name] [--false-pid] NAME WIDTHxHEIGHT+X+Y ...
//
// Each window takes the options that precede it. --legacy-name sets WM_NAME
// only (no _NET_WM_NAME); --false-pid puts pid 1 in _NET_WM_PID, which the
// window list must not believe.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <cstdio>
#include <set>
#include <string>

int main(int argc, char** argv) {
  Display* display = XOpenDisplay(nullptr);
  if (display == nullptr) return 1;
  const int screen = DefaultScreen(display);
  std::set<std::string> options;
  for (int index = 1; index < argc; ++index) {
    const std::string argument = argv[index];
    if (argument.starts_with("--")) {
      options.insert(argument);
      continue;
    }
    XSizeHints hints{};
    hints.flags = USPosition | USSize;
    if (index + 1 == argc ||
        std::sscanf(argv[++index], "%dx%d+%d+%d", &hints.width, &hints.height, &hints.x, &hints.y) != 4) {
      std::fprintf(stderr, "usage: x11_test_client [--legacy-name] [--false-pid] NAME WxH+X+Y ...\n");
      return 2;
    }
    const Window window =
        XCreateSimpleWindow(display, RootWindow(display, screen), hints.x, hints.y, static_cast<unsigned>(hints.width),
                            static_cast<unsigned>(hints.height), 0, BlackPixel(display, screen), WhitePixel(display, screen));
    XSetWMNormalHints(display, window, &hints);
    XStoreName(display, window, argument.c_str());
    if (!options.contains("--legacy-name")) {
      XChangeProperty(display, window, XInternAtom(display, "_NET_WM_NAME", False),
                      XInternAtom(display, "UTF8_STRING", False), 8, PropModeReplace,
                      reinterpret_cast<const unsigned char*>(argument.data()), static_cast<int>(argument.size()));
    }
    if (options.contains("--false-pid")) {
      const long pid = 1;
      XChangeProperty(display, window, XInternAtom(display, "_NET_WM_PID", False), XA_CARDINAL, 32, PropModeReplace,
                      reinterpret_cast<const unsigned char*>(&pid), 1);
    }
    options.clear();
    XMapWindow(display, window);
  }
  for (XEvent event;;) XNextEvent(display, &event);
}
