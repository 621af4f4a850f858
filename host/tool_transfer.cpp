// quillon download and upload: a device file through the same transfer steps
// as the file access dialog, with the terminal as its platform.
#include <cstdio>

#include "GenApi/GenApi.h"
#include "inspect/file_transfer.h"
#include "tool.h"
#include "tool_device.h"

using namespace GenApi;

namespace quillon::tool {

namespace {

// The transfer's platform pieces for a terminal: the path is given, progress
// is one line on standard error that each chunk rewrites, the success text
// goes to standard output once the outcome is known.
struct TerminalPlatform final : inspect::FileDialog,
                                inspect::MessageDisplay,
                                inspect::ProgressIndicator,
                                inspect::TransferButtons {
    std::string path;
    std::string message; // the window's message box text, printed by transfer()
    int32_t upper = 0;
    bool progressLine = false; // a progress line is open on standard error
    std::string Choose(Kind, const std::string&) override { return path; }
    void Show(const std::string& text, const std::string&, inspect::MessageIcon) override {
        message = text;
    }
    void SetRange(int32_t, int32_t to) override { upper = to; }
    void SetPosition(int32_t position) override {
        std::fprintf(stderr, "\r%d / %d bytes", position, upper);
        progressLine = true;
    }
    void EndProgressLine() {
        if (progressLine) std::fputc('\n', stderr);
        progressLine = false;
    }
    void SetStep(int32_t) override {}
    void Step() override {}
    void Show(bool) override {}
    void EnableDownload(bool) override {}
    void EnableUpload(bool) override {}
    void EnableFileList(bool) override {}
};

int transfer(const Args& args, bool download) {
    auto device = OpenDevice(args);
    const std::string& fileEntry = args.positional[0];
    INodeMap* map = nullptr;
    for (const auto& e : device->entries())
        if (e.context.nodeMap->GetNode("FileSelector")) map = e.context.nodeMap;
    if (!map) throw UsageError("the device has no file access");
    TerminalPlatform platform;
    platform.path = args.positional[1];
    inspect::FileTransferSession session(map, {platform, platform, platform, platform, {}});
    session.FillFileList();
    const auto& files = session.Files();
    size_t index = files.size();
    for (size_t i = 0; i < files.size(); ++i) {
        CEnumEntryPtr entry = files[i].entry;
        if (files[i].displayName == fileEntry ||
            (entry && std::string(entry->GetSymbolic()) == fileEntry))
            index = i;
    }
    if (index == files.size()) throw UsageError("no device file '" + fileEntry + "'");
    session.SelectFile(index);
    bool started = download ? session.StartDownload() : session.StartUpload();
    if (!started) throw UsageError("no transfer started");
    session.WaitForTransfer();
    platform.EndProgressLine();
    // Unlike the window, a file that did not open is a failure here.
    const inspect::TransferResult& result = session.LastResult();
    if (result.outcome != inspect::TransferResult::Outcome::Done) throw UsageError(result.reason);
    std::printf("%s\n", platform.message.c_str());
    return 0;
}

int download(const Args& args) { return transfer(args, true); }
int upload(const Args& args) { return transfer(args, false); }

} // namespace

const std::vector<Command>& TransferCommands() {
    static const std::vector<Command> commands = {
        {"download", "[DEVICE] FILE-ENTRY LOCAL-PATH", "copies a device file to a local file", true,
         {}, {}, 2, 2, download},
        {"upload", "[DEVICE] FILE-ENTRY LOCAL-PATH", "copies a local file to a device file", true,
         {}, {}, 2, 2, upload},
    };
    return commands;
}

} // namespace quillon::tool
