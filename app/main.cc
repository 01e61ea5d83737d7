// The host's entry: hands control to the application's main loop and exits
// with its result.
#include "app/host_application.h"

int main() { return quillon::HostApplication().run(); }
