// The quillon command as a host of the browser library: it loads
// libquillon.so as any host application would and shows the browser over the
// simulated system, a camera or a description file.
#pragma once

#include <string>
#include <vector>

#include "tool_window.h"

namespace quillon::host {

// quillon [--xml FILE | --camera ID] [--modeless] [--image OUT.png]
// With a display: the browser runs modally (or modeless over the host's own
// main window) until it is closed. Without one: the tree is printed and the
// window saved as OUT.png (default quillon.png). Returns the exit status.
int RunBrowserHost(const tool::WindowRequest& request);

} // namespace quillon::host
