// Texts of the GenApi enumerations, both ways.
#include "GenApi/Types.h"
#include "node.h"

namespace GenApi {

const char* AccessModeName(EAccessMode mode) {
    switch (mode) {
    case NI: return "NI";
    case NA: return "NA";
    case WO: return "WO";
    case RO: return "RO";
    case RW: return "RW";
    case _CycleDetectAccesMode: return "CycleDetect";
    default: return "Undefined";
    }
}

const char* VisibilityName(EVisibility visibility) {
    switch (visibility) {
    case Beginner: return "Beginner";
    case Expert: return "Expert";
    case Guru: return "Guru";
    case Invisible: return "Invisible";
    default: return "Undefined";
    }
}

const char* RepresentationName(ERepresentation representation) {
    switch (representation) {
    case Linear: return "Linear";
    case Logarithmic: return "Logarithmic";
    case Boolean: return "Boolean";
    case PureNumber: return "PureNumber";
    case HexNumber: return "HexNumber";
    case IPV4Address: return "IPV4Address";
    case MACAddress: return "MACAddress";
    default: return "Undefined";
    }
}

const char* CachingModeName(ECachingMode mode) {
    switch (mode) {
    case NoCache: return "NoCache";
    case WriteThrough: return "WriteThrough";
    case WriteAround: return "WriteAround";
    default: return "Undefined";
    }
}

const char* InterfaceTypeName(EInterfaceType type) {
    switch (type) {
    case intfIValue: return "IValue";
    case intfIBase: return "IBase";
    case intfIInteger: return "IInteger";
    case intfIBoolean: return "IBoolean";
    case intfICommand: return "ICommand";
    case intfIFloat: return "IFloat";
    case intfIString: return "IString";
    case intfIRegister: return "IRegister";
    case intfICategory: return "ICategory";
    case intfIEnumeration: return "IEnumeration";
    case intfIEnumEntry: return "IEnumEntry";
    case intfIPort: return "IPort";
    }
    return "Undefined";
}

namespace detail {

ERepresentation parseRepresentation(std::string_view t) {
    for (int r = Linear; r <= MACAddress; ++r)
        if (t == RepresentationName(static_cast<ERepresentation>(r))) return static_cast<ERepresentation>(r);
    return _UndefinedRepresentation;
}

EDisplayNotation parseDisplayNotation(std::string_view t) {
    if (t == "Automatic") return fnAutomatic;
    if (t == "Fixed") return fnFixed;
    if (t == "Scientific") return fnScientific;
    return _UndefinedEDisplayNotation;
}

ESlope parseSlope(std::string_view t) {
    if (t == "Increasing") return Increasing;
    if (t == "Decreasing") return Decreasing;
    if (t == "Varying") return Varying;
    if (t == "Automatic") return Automatic;
    return _UndefinedESlope;
}

bool parseEndianess(std::string_view t, EEndianess& out) {
    if (t == "LittleEndian") return out = LittleEndian, true;
    if (t == "BigEndian") return out = BigEndian, true;
    return false;
}

bool parseSign(std::string_view t, bool& isSigned) {
    if (t == "Signed") return isSigned = true, true;
    if (t == "Unsigned") return isSigned = false, true;
    return false;
}

} // namespace detail
} // namespace GenApi
