// Editing a register feature's bytes in the memory viewer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "GenApi/Interfaces.h"

namespace quillon::inspect {

// The hex memory editor. Edit() shows `length` bytes at `buffer` under
// `caption`, lets the user change them in place and blocks until the viewer
// closes; it answers whether the bytes were changed.
class MemoryViewer {
public:
    virtual ~MemoryViewer() = default;
    virtual bool Edit(const std::string& caption, uint8_t* buffer, size_t length) = 0;
};

enum class RegisterEditOutcome { Unchanged, Written };

// "GenICam register access: <nodeName>"
std::string RegisterEditCaption(const std::string& nodeName);

// Reads the whole register (verified, past the cache), hands it to the
// viewer, and writes it back (verified) only when the viewer reports a
// change. Nothing is reported to the host for a register. GenICam exceptions
// propagate; a node that is not a register raises "NULL pointer dereferenced".
RegisterEditOutcome EditRegister(GenApi::INode* node, const std::string& nodeName, MemoryViewer& viewer);

} // namespace quillon::inspect
