// The settings a user set holds: their registers, factory values and the
// text form in which UserSetSave stores them in the UserSet1/UserSet2 files
// ("Key=value" lines; '#' starts a comment).
#pragma once

#include <string>
#include <string_view>

#include "sim/register_space.h"

namespace qorvis::sim {

// Writes the factory value of every user-set setting.
void writeFactorySettings(RegisterSpace& ram);
// The current settings as user-set text.
std::string saveSettings(const RegisterSpace& ram);
// Factory values, then every known key of `text` on top; unknown keys and
// malformed lines are skipped. Returns the number of settings taken from `text`.
int loadSettings(RegisterSpace& ram, std::string_view text);

} // namespace qorvis::sim
