#include "inspect/register_editing.h"

#include <vector>

#include "GenApi/Pointer.h"

namespace quillon::inspect {

std::string RegisterEditCaption(const std::string& nodeName) { return "GenICam register access: " + nodeName; }

RegisterEditOutcome EditRegister(GenApi::INode* node, const std::string& nodeName, MemoryViewer& viewer) {
    GenApi::CRegisterPtr reg(node);
    int64_t length = reg->GetLength();
    std::vector<uint8_t> bytes(static_cast<size_t>(length > 0 ? length : 0), 0);
    reg->Get(bytes.data(), length, true, false);
    if (!viewer.Edit(RegisterEditCaption(nodeName), bytes.data(), bytes.size())) return RegisterEditOutcome::Unchanged;
    reg->Set(bytes.data(), length, true);
    return RegisterEditOutcome::Written;
}

} // namespace quillon::inspect
