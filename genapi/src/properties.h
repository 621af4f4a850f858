// The property elements a node may carry, interned to small numbers so that
// loading compares integers, not strings.
#pragma once

#include <cstdint>
#include <string_view>

namespace GenApi::detail {

#define GENAPI_PROPERTIES(X)                                                                       \
    X(ToolTip) X(Description) X(DisplayName) X(Visibility) X(DocuURL) X(IsDeprecated) X(EventID)   \
    X(pIsImplemented) X(pIsAvailable) X(pIsLocked) X(pBlockPolling) X(ImposedAccessMode)           \
    X(pError) X(pAlias) X(pCastAlias) X(pInvalidator) X(PollingTime) X(Streamable) X(Cachable)    \
    X(Extension) X(pFeature) X(Value) X(pValue) X(pValueCopy) X(pValueDefault) X(ValueDefault)     \
    X(pIndex) X(ValueIndexed) X(pValueIndexed) X(Min) X(pMin) X(Max) X(pMax) X(Inc) X(pInc)        \
    X(Representation) X(Unit) X(DisplayNotation) X(DisplayPrecision) X(Slope) X(IsLinear)          \
    X(pSelected) X(Address) X(pAddress) X(IntSwissKnife) X(Length) X(pLength) X(AccessMode)        \
    X(pPort) X(Sign) X(Endianess) X(LSB) X(MSB) X(Bit) X(Formula) X(FormulaTo) X(FormulaFrom)      \
    X(pVariable) X(Constant) X(Expression) X(CommandValue) X(pCommandValue) X(OnValue)             \
    X(OffValue) X(NumericValue) X(Symbolic) X(IsSelfClearing) X(ChunkID) X(SwapEndianess)          \
    X(CacheChunkData) X(p1212Parser) X(Key) X(FeatureID) X(pAdvFeatureLock) X(TimeOut)             \
    X(pEnumEntry) X(pTerminal) X(pDependent) X(InputDirection) X(DisplayPrecisionDefault)

enum class Prop : uint16_t {
#define GENAPI_PROP_ENUM(name) name,
    GENAPI_PROPERTIES(GENAPI_PROP_ENUM)
#undef GENAPI_PROP_ENUM
        Count
};

constexpr uint16_t kKnownPropertyCount = static_cast<uint16_t>(Prop::Count);

// The element name of a known property.
std::string_view propertyName(Prop p);
// The known property of an element name, or Prop::Count when unknown.
Prop propertyFromName(std::string_view name);

} // namespace GenApi::detail
