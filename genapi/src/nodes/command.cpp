// Command: writes CommandValue to its value node; done once the device has
// cleared that value again.
#include <mutex>

#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

bool CommandNode::applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                                uint32_t recordIndex) {
    switch (prop) {
    case Prop::Value:
        value_.constant = loader.toInt(*this, prop, value);
        value_.present = true;
        return true;
    case Prop::pValue:
        value_.node = loader.ref(*this, prop, value);
        value_.present = true;
        return true;
    case Prop::CommandValue:
        command_.constant = loader.toInt(*this, prop, value);
        command_.present = true;
        return true;
    case Prop::pCommandValue:
        command_.node = loader.ref(*this, prop, value);
        command_.present = true;
        return true;
    default: return ValueNode::applyProperty(loader, prop, value, record, recordIndex);
    }
}

void CommandNode::finishConfigure(Loader& loader) {
    if (!value_.present) loader.fail(*this, "Command without Value or pValue");
    if (!command_.present) loader.fail(*this, "Command without CommandValue or pCommandValue");
}

EAccessMode CommandNode::baseAccess() { return value_.isRef() ? value_.node->access() : RW; }

int64_t CommandNode::commandValue() {
    return command_.isRef() ? command_.node->getInt(false, false) : command_.constant;
}

void CommandNode::Execute(bool verify) {
    std::lock_guard guard(map_->mutex());
    requireWritable();
    Busy busy(*this);
    int64_t v = commandValue();
    executing_ = true;
    if (value_.isRef()) {
        value_.node->setInt(v, verify);
    } else {
        value_.constant = v;
        map_->valueChanged(this);
    }
}

bool CommandNode::IsDone(bool) {
    std::lock_guard guard(map_->mutex());
    Busy busy(*this);
    // A command whose value cannot be read back is done as soon as it is written.
    if (!value_.isRef()) return true;
    if (!GenApi::IsReadable(value_.node->access())) return true;
    int64_t now = value_.node->getInt(false, true);
    bool done = now != commandValue();
    if (done && executing_) {
        // Completion is a change: whoever watches the command hears of it.
        executing_ = false;
        map_->valueChanged(this);
    }
    return done;
}

void CommandNode::FromString(const gcstring& valueStr, bool verify) {
    std::string_view t(valueStr);
    if (t == "1" || t == "true" || t == "Execute") return Execute(verify);
    throw INVALID_ARGUMENT_EXCEPTION("Node '%.*s': a command takes no value ('%s')",
                                     static_cast<int>(name().size()), name().data(), valueStr.c_str());
}

} // namespace GenApi::detail
