// The quillon command's window: the host of the browser library (no
// subcommand) and --screenshot, which draws the browser in the process.
#include <QApplication>

#include <cstdio>
#include <cstdlib>

#include "browser/tessel_window.h"
#include "browser_host.h"
#include "controls/column_tree_widget.h"
#include "tool.h"
#include "tool_device.h"

namespace quillon::tool {

namespace {

// Opens the browser window on the device, selects the feature named by
// --select (when given) so that its property text and in-place editor show,
// and saves the image.
int screenshot(const Args& args) {
    auto device = OpenDevice(args);
    const std::string& path = args.positional[0];
    const std::string feature = args.Value("--select");
    // Without a display the window is drawn off screen.
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY"))
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
    int argc = 1;
    char name[] = "quillon";
    char* argv[] = {name, nullptr};
    QApplication app(argc, argv);
    browser::CTessel window(browser::BrowserSetup{device->entries(), 0, {}, false});
    if (!feature.empty()) {
        browser::TreeItem item = browser::kTopLevel;
        for (const browser::FeatureRow& row : window.session().model().featureRows())
            if (row.node && row.treeItem && row.node->GetName() == feature.c_str())
                item = row.treeItem;
        if (!item) throw UsageError("no row shows a feature named '" + feature + "'");
        window.show();
        window.tree().SelectItem(item);
    }
    if (!browser::SaveWindowImage(window, QString::fromStdString(path)))
        throw UsageError("could not save the window image to '" + path + "'");
    std::printf("quillon: saved the browser window to %s\n", path.c_str());
    return 0;
}

} // namespace

const std::vector<Command>& WindowCommands() {
    static const std::vector<Command> commands = {
        {"", "[DEVICE] [--modeless] [--image OUT.png]",
         "the browser (no display: the tree, and the window saved as an image)", true,
         {"--image"}, {"--modeless"}, 0, 0, host::RunBrowserHost},
        {"--screenshot", "OUT.png [DEVICE] [--select FEATURE]",
         "draws the browser window (with a feature selected) into an image", true, {"--select"},
         {}, 1, 1, screenshot},
    };
    return commands;
}

} // namespace quillon::tool
