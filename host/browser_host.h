// The quillon command as a host of the browser library: it loads
// libquillon.so as any host application would and shows the browser over the
// simulated system or a description file.
#pragma once

#include <string>
#include <vector>

#include "types/feature_row.h"

namespace quillon::host {

// The folder of the library objects' descriptions, ending with '/':
// QUILLON_DATA_DIR, else the source tree's data/.
std::string DataDirectory();

// Prints the feature tree at `level` as `quillon tree` does. On a GenICam
// failure the rows built before it are printed and the exception passes on.
void PrintTree(const std::vector<browser::NodeMapEntry>& entries, int level);

// quillon [--xml FILE] [--modeless] [--image OUT.png]
// With a display: the browser runs modally (or modeless over the host's own
// main window) until it is closed. Without one: the tree is printed and the
// window saved as OUT.png (default quillon.png). Returns the exit status.
int RunBrowserHost(const std::vector<std::string>& args);

} // namespace quillon::host
