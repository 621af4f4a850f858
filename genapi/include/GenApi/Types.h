// Enumerations and list types of the GenApi interfaces, with GenApi's numbering:
// code dispatches on these numbers, so they must never change.
#pragma once

#include <cstdint>
#include <vector>

#include "GenICam/gcstring.h"

namespace GenApi {

using GenICam::gcstring;
using GenICam::gcstring_vector;

enum EInterfaceType {
    intfIValue = 0,
    intfIBase = 1,
    intfIInteger = 2,
    intfIBoolean = 3,
    intfICommand = 4,
    intfIFloat = 5,
    intfIString = 6,
    intfIRegister = 7,
    intfICategory = 8,
    intfIEnumeration = 9,
    intfIEnumEntry = 10,
    intfIPort = 11
};

enum EAccessMode {
    NI = 0,
    NA = 1,
    WO = 2,
    RO = 3,
    RW = 4,
    _UndefinedAccesMode = 5,
    _CycleDetectAccesMode = 6
};

enum EVisibility { Beginner = 0, Expert = 1, Guru = 2, Invisible = 3, _UndefinedVisibility = 99 };

enum ECachingMode { NoCache = 0, WriteThrough = 1, WriteAround = 2, _UndefinedCachingMode = 3 };

enum ERepresentation {
    Linear = 0,
    Logarithmic = 1,
    Boolean = 2,
    PureNumber = 3,
    HexNumber = 4,
    IPV4Address = 5,
    MACAddress = 6,
    _UndefinedRepresentation = 7
};

enum EEndianess { BigEndian = 0, LittleEndian = 1, _UndefinedEndian = 2 };

enum ENameSpace { Custom = 0, Standard = 1, _UndefinedNameSpace = 2 };

enum EYesNo { No = 0, Yes = 1, _UndefinedYesNo = 2 };

enum ESign { Signed = 0, Unsigned = 1, _UndefinedSign = 2 };

enum ESlope { Increasing = 0, Decreasing = 1, Varying = 2, Automatic = 3, _UndefinedESlope = 4 };

enum EDisplayNotation { fnAutomatic = 0, fnFixed = 1, fnScientific = 2, _UndefinedEDisplayNotation = 3 };

enum EIncMode { noIncrement = 0, fixedIncrement = 1, listIncrement = 2 };

enum ECallbackType { cbPostInsideLock = 1, cbPostOutsideLock = 2 };

enum ELinkType {
    ctParentNodes = 0,
    ctReadingChildren = 1,
    ctWritingChildren = 2,
    ctInvalidatingChildren = 3,
    ctDependingNodes = 4,
    ctTerminalNodes = 5,
    ctValueChangingChildren = 6
};

enum EContentType { ContentType_Xml = 0, ContentType_ZippedXml = 1 };

enum ECacheUsage_t {
    CacheUsage_Automatic = 0,
    CacheUsage_Ignore = 1,
    CacheUsage_ForceWrite = 2,
    CacheUsage_ForceRead = 3
};

struct INode;
struct IValue;
struct IEnumEntry;

using NodeList_t = std::vector<INode*>;
using FeatureList_t = std::vector<IValue*>;
using StringList_t = gcstring_vector;
using int64_autovector_t = std::vector<int64_t>;
using double_autovector_t = std::vector<double>;

// Text forms used in XML and property texts ("RW", "Beginner", "HexNumber" ...).
const char* AccessModeName(EAccessMode mode);
const char* VisibilityName(EVisibility visibility);
const char* RepresentationName(ERepresentation representation);
const char* CachingModeName(ECachingMode mode);
const char* InterfaceTypeName(EInterfaceType type);

// True when a node of visibility `v` is shown at user level `level`.
inline bool IsVisible(EVisibility v, EVisibility level) { return v <= level; }
inline bool IsReadable(EAccessMode m) { return m == RO || m == RW; }
inline bool IsWritable(EAccessMode m) { return m == WO || m == RW; }
inline bool IsAvailable(EAccessMode m) { return m != NA && m != NI; }
inline bool IsImplemented(EAccessMode m) { return m != NI; }

} // namespace GenApi
