// The browser's action button: executes the selected command (waiting for
// its completion when the device completes commands asynchronously) or opens
// the selected register in the memory viewer.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "GenApi/Interfaces.h"
#include "types/row_context.h"
#include "inspect/register_editing.h"

namespace quillon::inspect {

// Sleeps for the given number of milliseconds between completion checks.
// Empty means the imaging library's QappSleep.
using CompletionSleep = std::function<void(int64_t milliseconds)>;

// Period used when neither the command nor its "pValue" node has a polling time.
inline constexpr int64_t kDefaultCompletionPeriodMs = 150;

// Inquires Q_GC_COMMAND_COMPLETION (4813) of the dialog's imaging-library
// object, the system the host gave the browser, with the library's error
// printing switched off for the call. Answers 1 when there is no system or
// the inquire fails.
int64_t InquireCommandCompletion(int64_t system);

// The command's polling time; else, when it has a "pValue" property naming a
// node of its node map, that node's polling time; else 150 ms.
int64_t CompletionPeriod(GenApi::INode* command);

// Executes the command (verified). When the dialog's system completes
// commands asynchronously (4813 answers 0x20000) it polls IsDone every
// CompletionPeriod() ms, without a time-out: a device that never completes
// keeps the caller waiting, as the device asks. Then reports the selectors of
// the command ("SELECTOR_<tag>_<name>") and "CMD_<nodeName>" = "Execute" to
// the host. GenICam exceptions propagate, and nothing is reported then.
void ExecuteCommand(GenApi::INode* node, const std::string& nodeName,
                    const browser::NodeMapContext& context, int64_t system,
                    const CompletionSleep& sleep = {});

enum class ActionOutcome {
    Ignored,           // neither a command nor a register
    CommandExecuted,
    RegisterUnchanged, // the viewer reported no change; nothing written
    RegisterWritten,
    Failed,            // a GenICam exception was caught and dropped
};

// The action button's handler on one row: dispatches on the node's principal
// interface type. Every GenICam exception is caught and dropped (no message);
// the outcome says what happened so callers and tests can tell.
ActionOutcome RunAction(GenApi::INode* node, const std::string& nodeName,
                        const browser::NodeMapContext& context, int64_t system,
                        MemoryViewer& viewer, const CompletionSleep& sleep = {});

} // namespace quillon::inspect
