// The session as code: every value committed and every command executed in
// a browser session, in order, as the imaging-library calls that the
// access-code generator writes for that feature and value, so that a user
// who set a device up by hand gets the program that does the same.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "GenApi/Interfaces.h"

namespace quillon::inspect {

// One step: the generator's control lines of the selectors that select
// `node` (outermost first, with the values they hold now), then those of the
// node with the value it holds now (for a command, its execution), in a
// block of their own under a numbered comment. `objectKind` is the row's
// target (0 is taken as a digitizer, as the property box does). The library
// has no feature calls for sequences: their steps are the comment alone.
std::string SessionStepCode(GenApi::INode* node, int64_t objectKind, size_t number);

class SessionCode {
public:
    // Records `node` right after a value of it was committed or it was executed.
    void Record(GenApi::INode* node, int64_t objectKind);
    bool empty() const { return steps_.empty(); }
    size_t size() const { return steps_.size(); }
    // The steps in order; compiles as the body of a function that sees the
    // QOR_ID variables QorSystem and QorDigitizer. Empty when nothing was recorded.
    std::string Text() const;

private:
    std::vector<std::string> steps_;
};

} // namespace quillon::inspect
