#include "inspect/command_execution.h"

#include "GenApi/Pointer.h"
#include "GenICam/exceptions.h"
#include "inspect/host_report.h"
#include "qorvis.h"

namespace quillon::inspect {

int64_t InquireCommandCompletion(int64_t system) {
    QOR_INT64 completion = 1;
    if (system == 0) return completion;
    QOR_INT64 savedPrint = Q_PRINT_ENABLE;
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, &savedPrint);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
    QsysInquire(system, Q_GC_COMMAND_COMPLETION, &completion);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, savedPrint);
    return completion;
}

int64_t CompletionPeriod(GenApi::INode* command) {
    int64_t period = command->GetPollingTime();
    if (period == -1) {
        GenICam::gcstring valueName, attribute;
        if (command->GetProperty("pValue", valueName, attribute)) {
            if (GenApi::INode* value = command->GetNodeMap()->GetNode(valueName)) period = value->GetPollingTime();
        }
    }
    return period == -1 ? kDefaultCompletionPeriodMs : period;
}

void ExecuteCommand(GenApi::INode* node, const std::string& nodeName,
                    const browser::NodeMapContext& context, int64_t system,
                    const CompletionSleep& sleep) {
    int64_t completion = InquireCommandCompletion(system);
    GenApi::CCommandPtr command(node);
    command->Execute(true);
    if (completion == Q_GC_COMMAND_ASYNCHRONOUS) {
        int64_t period = CompletionPeriod(node);
        while (!command->IsDone(true)) {
            if (sleep) sleep(period);
            else QappSleep(static_cast<double>(period) / 1000.0);
        }
    }
    ReportSelectors(context, node);
    ReportToHost(context, "CMD_" + nodeName, "Execute");
}

ActionOutcome RunAction(GenApi::INode* node, const std::string& nodeName,
                        const browser::NodeMapContext& context, int64_t system,
                        MemoryViewer& viewer, const CompletionSleep& sleep) {
    try {
        if (!node) return ActionOutcome::Ignored;
        switch (node->GetPrincipalInterfaceType()) {
        case GenApi::intfICommand:
            ExecuteCommand(node, nodeName, context, system, sleep);
            return ActionOutcome::CommandExecuted;
        case GenApi::intfIRegister:
            return EditRegister(node, nodeName, viewer) == RegisterEditOutcome::Written
                       ? ActionOutcome::RegisterWritten
                       : ActionOutcome::RegisterUnchanged;
        default: return ActionOutcome::Ignored;
        }
    } catch (const GenICam::GenericException&) {
        return ActionOutcome::Failed;
    }
}

} // namespace quillon::inspect
