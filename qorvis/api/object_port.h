// A GenApi port over one of the library's own objects: the register address
// is a control type of the object, a read is its inquire and a write its
// control. The library connects the system's own description to one, so that
// QsysInquireFeature and QsysControlFeature reach the system's settings.
#pragma once

#include <memory>

#include "GenApi/Interfaces.h"
#include "api/objects.h"

namespace qorvis::api {

// Address flags understood besides plain control types: bit 46 asks whether
// the type reads without error (1 or 0), bit 47 reads the object's
// Q_OBJECT_GENERIC identifier.
inline constexpr int64_t kAvailabilityProbeBit = int64_t{1} << 46;
inline constexpr int64_t kGenericInquireBit = int64_t{1} << 47;

// Numbers are 8-byte little-endian values; texts are written with their
// terminator and zero-filled to the register's length. A failing access
// raises GenICam::AccessException with the library's sub-messages.
// The object owns the port (through its node map), so the port refers to it
// directly; every access takes the library lock.
std::unique_ptr<GenApi::IPort> makeObjectPort(Object& object);

} // namespace qorvis::api
