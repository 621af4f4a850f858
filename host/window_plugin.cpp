// The quillon command's window plugin (quillon_window.so): everything of the
// command that needs Qt. The command opens it with dlopen for the browser
// host and --screenshot and calls its one exported function.
#include <QApplication>

#include <cstdio>
#include <cstdlib>
#include <type_traits>

#include "browser/tessel_window.h"
#include "browser_host.h"
#include "controls/column_tree_widget.h"
#include "tool_device.h"
#include "tool_window.h"

namespace quillon::tool {

namespace {

// Opens the browser window on the device, selects the feature named by
// --select (when given) so that its property text and in-place editor show,
// and saves the image.
int screenshot(const WindowRequest& request) {
    const Args& args = request.args;
    const std::string& path = args.positional[0];
    const std::string feature = args.Value("--select");
    // Without a display the window is drawn off screen.
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY"))
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
    int argc = 1;
    char name[] = "quillon";
    char* argv[] = {name, nullptr};
    QApplication app(argc, argv);
    browser::CTessel window(browser::BrowserSetup{request.device->entries(), 0, {}, false});
    window.session().FinishBuild(); // the picture shows the whole tree
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

} // namespace quillon::tool

extern "C" __attribute__((visibility("default"))) int
QuillonWindowCommand(const quillon::tool::WindowRequest& request) {
    if (*request.command) return quillon::tool::screenshot(request);
    return quillon::host::RunBrowserHost(request);
}

static_assert(std::is_same_v<decltype(&QuillonWindowCommand), quillon::tool::WindowEntry>);
