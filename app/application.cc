#include "app/application.h"

#include "app/main_flutter_window.h"

namespace quillon {

void Application::terminate() {
  if (delegate_.applicationShouldTerminate(*this) == TerminateReply::now) loop_.quit(0);
}

void Application::lastWindowClosed() {
  if (delegate_.applicationShouldTerminateAfterLastWindowClosed(*this)) terminate();
}

void Application::closeButtonPressed(bool interfaceConnected) {
  if (interfaceConnected) return lastWindowClosed();
  loop_.quit(0);
}

void Application::interfaceTakeOverTimeEnded() {
  if (mainFlutterWindow_ != nullptr && !mainFlutterWindow_->controlledByInterface()) mainFlutterWindow_->show();
}

bool Application::reopen(const std::string& startupId) {
  return mainFlutterWindow_ != nullptr && mainFlutterWindow_->bringForward(startupId);
}

}  // namespace quillon
