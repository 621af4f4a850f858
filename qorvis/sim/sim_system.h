// The simulated system: the back-end behind Q_SYSTEM_SIMULATED. A "QSIM-4"
// board with four device ports, each digitizer carrying a simulated Torvex
// camera (sim_camera.h), and sequences that record nothing but keep their
// settings. This file gives the board its control-type tables and builds its
// objects; api/ turns them into the C API.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "GenApi/Interfaces.h"
#include "api/control_types.h"
#include "api/objects.h"

namespace qorvis::sim {

inline constexpr int64_t kSystemType = 1000;      // Q_SYSTEM_TYPE_SIMULATED
inline constexpr int64_t kBoardCount = 4;         // system numbers 0 to 3
inline constexpr int64_t kDeviceCount = 4;        // device numbers 0 to 3
inline constexpr int64_t kMemorySize = int64_t{4} << 30;
inline constexpr std::string_view kBoardName = "Qorvis QSIM-4 simulated frame grabber";

// NULL, "" and "Q_SYSTEM_SIMULATED" name this back-end.
bool isSimulatedDescriptor(const char* descriptor);
// A system or device number as given to an allocation: Q_DEFAULT is 0;
// anything outside 0 to count - 1 fails ("Invalid device number." ...).
int64_t checkedNumber(int64_t number, int64_t count, std::string_view what);

const api::ControlTable& systemControlTypes();
const api::ControlTable& digitizerControlTypes();
const api::ControlTable& sequenceControlTypes();

// New objects, not yet registered. Systems and digitizers load node maps,
// whose locks must not be taken under the library lock: call these without
// holding it.
//
// A system comes with its own description (QsysControl_sim.xml) loaded over a
// port to its control types; it lives as long as the system.
std::shared_ptr<api::SystemObject> createSystem(int64_t number);
// Powers on the digitizer's camera and loads the camera's node map over it.
std::shared_ptr<api::DigitizerObject> createDigitizer(QOR_ID system, int64_t deviceNumber, std::string_view format);
std::shared_ptr<api::SequenceObject> createSequence(QOR_ID system, int64_t deviceNumber, bool boardSpecific);

} // namespace qorvis::sim
