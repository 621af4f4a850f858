// quillon why, slices and session: why a feature can or cannot be edited,
// every slice of a selector at once, and a series of edits as the program
// that makes them.
#include <cstdint>
#include <cstdio>

#include "GenApi/GenApi.h"
#include "inspect/access_explanation.h"
#include "inspect/command_execution.h"
#include "inspect/selector_slices.h"
#include "inspect/session_code.h"
#include "inspect/value_commit.h"
#include "tool.h"
#include "tool_device.h"

using namespace GenApi;

namespace quillon::tool {

namespace {

int why(const Args& args) {
    auto device = OpenDevice(args);
    INode* node = device->find(args.positional[0]).first;
    std::fputs(inspect::ExplanationText(inspect::ExplainAccess(node)).c_str(), stdout);
    return 0;
}

int slices(const Args& args) {
    auto device = OpenDevice(args);
    INode* node = device->find(args.positional[0]).first;
    std::vector<inspect::SliceTable> tables = inspect::ReadSlices(node);
    std::fputs(inspect::SlicesText(tables, inspect::SliceLayout::Aligned).c_str(), stdout);
    return 0;
}

// Each step is FEATURE=VALUE, committed as the browser commits a typed
// value, or COMMAND, executed; then the steps are printed as code.
int session(const Args& args) {
    auto device = OpenDevice(args);
    inspect::SessionCode code;
    for (size_t i = 0; i < args.positional.size(); ++i) {
        const std::string& step = args.positional[i];
        const size_t equals = step.find('=');
        const std::string feature = step.substr(0, equals);
        auto [node, context] = device->find(feature);
        std::string failure;
        try {
            if (equals != std::string::npos) {
                failure =
                    inspect::CommitValue(node, feature, step.substr(equals + 1), *context).message;
            } else if (node->GetPrincipalInterfaceType() == intfICommand) {
                inspect::ExecuteCommand(node, feature, *context, device->system());
            } else {
                failure = "'" + feature + "' is not a command; give FEATURE=VALUE";
            }
        } catch (const GenICam::GenericException& e) {
            failure = e.GetDescription();
        }
        if (!failure.empty())
            throw UsageError("step " + std::to_string(i + 1) + " (" + step + "): " + failure);
        code.Record(node, context->objectKind);
    }
    std::fputs(code.Text().c_str(), stdout);
    return 0;
}

} // namespace

const std::vector<Command>& UnderstandingCommands() {
    static const std::vector<Command> commands = {
        {"why",
         "[DEVICE] FEATURE",
         "why a feature is writable, read-only or not available now, innermost cause first",
         true,
         {},
         {},
         1,
         1,
         why},
        {"slices",
         "[DEVICE] SELECTOR",
         "every selected feature's value under every entry of a selector",
         true,
         {},
         {},
         1,
         1,
         slices},
        {"session",
         "[DEVICE] FEATURE=VALUE|COMMAND...",
         "makes the edits in order and prints them as imaging-library code",
         true,
         {},
         {},
         1,
         SIZE_MAX,
         session},
    };
    return commands;
}

} // namespace quillon::tool
