#include "app/application.h"

namespace quillon {

void Application::terminate() {
  if (delegate_.applicationShouldTerminate(*this) == TerminateReply::now) loop_.quit(0);
}

void Application::lastWindowClosed() {
  if (delegate_.applicationShouldTerminateAfterLastWindowClosed(*this)) terminate();
}

}  // namespace quillon
