// The GenApi node interfaces. Every node implements INode and the value
// interface of its type; code reaches them through the smart pointers of
// Pointer.h.
#pragma once

#include <cstdint>

#include "GenApi/Synch.h"
#include "GenApi/Types.h"

namespace GenApi {

struct INodeMap;
class CNodeCallback;
using CallbackHandleType = intptr_t;

struct IBase {
    virtual ~IBase() = default;
    virtual EAccessMode GetAccessMode() const = 0;
};

struct INode : virtual public IBase {
    virtual gcstring GetName(bool fullQualified = false) const = 0;
    virtual ENameSpace GetNameSpace() const = 0;
    virtual EVisibility GetVisibility() const = 0;
    virtual void InvalidateNode() = 0;
    virtual bool IsCachable() const = 0;
    virtual ECachingMode GetCachingMode() const = 0;
    // Polling time in milliseconds, -1 when the node is not polled.
    virtual int64_t GetPollingTime() const = 0;
    virtual gcstring GetToolTip() const = 0;
    virtual gcstring GetDescription() const = 0;
    // The display name, or the node's name when it has none.
    virtual gcstring GetDisplayName() const = 0;
    virtual gcstring GetDeviceName() const = 0;
    virtual gcstring GetDocuURL() const = 0;
    virtual bool IsDeprecated() const = 0;
    virtual bool IsStreamable() const = 0;
    virtual int64_t GetEventID() const = 0;
    virtual void GetChildren(NodeList_t& children, ELinkType linkType = ctReadingChildren) const = 0;
    virtual void GetParents(NodeList_t& parents) const = 0;
    virtual INodeMap* GetNodeMap() const = 0;
    virtual EInterfaceType GetPrincipalInterfaceType() const = 0;
    // A feature is reachable from the "Root" category through categories.
    virtual bool IsFeature() const = 0;
    virtual INode* GetAlias() const = 0;
    virtual INode* GetCastAlias() const = 0;
    // Names of the properties the node has in its description.
    virtual void GetPropertyNames(gcstring_vector& names) const = 0;
    // The property's value text and attribute text; false when the node has none.
    virtual bool GetProperty(const gcstring& name, gcstring& valueStr, gcstring& attributeStr) const = 0;
    virtual void ImposeAccessMode(EAccessMode mode) = 0;
    virtual void ImposeVisibility(EVisibility visibility) = 0;
    // The node owns the callback from here on; the handle deregisters it.
    virtual CallbackHandleType RegisterCallback(CNodeCallback* callback) = 0;
    virtual bool DeregisterCallback(CallbackHandleType handle) = 0;
};

struct IValue : virtual public IBase {
    virtual INode* GetNode() = 0;
    virtual gcstring ToString(bool verify = false, bool ignoreCache = false) = 0;
    virtual void FromString(const gcstring& valueStr, bool verify = true) = 0;
    virtual bool IsValueCacheValid() const = 0;
};

struct IInteger : virtual public IValue {
    virtual void SetValue(int64_t value, bool verify = true) = 0;
    virtual int64_t GetValue(bool verify = false, bool ignoreCache = false) = 0;
    virtual int64_t GetMin() = 0;
    virtual int64_t GetMax() = 0;
    virtual EIncMode GetIncMode() = 0;
    virtual int64_t GetInc() = 0;
    virtual int64_autovector_t GetListOfValidValues(bool bounded = true) = 0;
    virtual ERepresentation GetRepresentation() = 0;
    virtual gcstring GetUnit() = 0;
    virtual void ImposeMin(int64_t value) = 0;
    virtual void ImposeMax(int64_t value) = 0;

    IInteger& operator=(int64_t value) {
        SetValue(value);
        return *this;
    }
    int64_t operator()() { return GetValue(); }
    int64_t operator*() { return GetValue(); }
};

struct IFloat : virtual public IValue {
    virtual void SetValue(double value, bool verify = true) = 0;
    virtual double GetValue(bool verify = false, bool ignoreCache = false) = 0;
    virtual double GetMin() = 0;
    virtual double GetMax() = 0;
    virtual bool HasInc() = 0;
    virtual EIncMode GetIncMode() = 0;
    virtual double GetInc() = 0;
    virtual double_autovector_t GetListOfValidValues(bool bounded = true) = 0;
    virtual ERepresentation GetRepresentation() = 0;
    virtual gcstring GetUnit() const = 0;
    virtual EDisplayNotation GetDisplayNotation() const = 0;
    virtual int64_t GetDisplayPrecision() const = 0;
    virtual void ImposeMin(double value) = 0;
    virtual void ImposeMax(double value) = 0;

    IFloat& operator=(double value) {
        SetValue(value);
        return *this;
    }
    double operator()() { return GetValue(); }
    double operator*() { return GetValue(); }
};

struct IBoolean : virtual public IValue {
    virtual void SetValue(bool value, bool verify = true) = 0;
    virtual bool GetValue(bool verify = false, bool ignoreCache = false) const = 0;

    IBoolean& operator=(bool value) {
        SetValue(value);
        return *this;
    }
    bool operator()() const { return GetValue(); }
    bool operator*() const { return GetValue(); }
};

struct ICommand : virtual public IValue {
    virtual void Execute(bool verify = true) = 0;
    virtual bool IsDone(bool verify = true) = 0;
    void operator()() { Execute(); }
};

struct IString : virtual public IValue {
    virtual void SetValue(const gcstring& value, bool verify = true) = 0;
    virtual gcstring GetValue(bool verify = false, bool ignoreCache = false) = 0;
    virtual int64_t GetMaxLength() = 0;

    IString& operator=(const gcstring& value) {
        SetValue(value);
        return *this;
    }
    gcstring operator()() { return GetValue(); }
    gcstring operator*() { return GetValue(); }
};

struct IRegister : virtual public IValue {
    virtual void Set(const uint8_t* buffer, int64_t length, bool verify = true) = 0;
    virtual void Get(uint8_t* buffer, int64_t length, bool verify = false, bool ignoreCache = false) = 0;
    virtual int64_t GetLength() = 0;
    virtual int64_t GetAddress() = 0;
};

struct ICategory : virtual public IValue {
    virtual void GetFeatures(FeatureList_t& features) const = 0;
};

struct IEnumEntry : virtual public IValue {
    virtual int64_t GetValue() = 0;
    virtual gcstring GetSymbolic() const = 0;
    virtual double GetNumericValue() = 0;
    virtual bool IsSelfClearing() = 0;
};

struct IEnumeration : virtual public IValue {
    virtual void GetSymbolics(StringList_t& symbolics) = 0;
    virtual void GetEntries(NodeList_t& entries) = 0;
    virtual void SetIntValue(int64_t value, bool verify = true) = 0;
    virtual int64_t GetIntValue(bool verify = false, bool ignoreCache = false) = 0;
    virtual IEnumEntry* GetEntryByName(const gcstring& symbolic) = 0;
    virtual IEnumEntry* GetEntry(int64_t intValue) = 0;
    virtual IEnumEntry* GetCurrentEntry(bool verify = false, bool ignoreCache = false) = 0;

    IEnumeration& operator=(const gcstring& symbolic) {
        FromString(symbolic);
        return *this;
    }
    IEnumeration& operator=(const char* symbolic) { return *this = gcstring(symbolic); }
    IEnumEntry* operator*() { return GetCurrentEntry(); }
};

struct ISelector : virtual public IBase {
    virtual bool IsSelector() const = 0;
    virtual void GetSelectedFeatures(FeatureList_t& features) const = 0;
    virtual void GetSelectingFeatures(FeatureList_t& features) const = 0;
};

struct IPort : virtual public IBase {
    virtual void Read(void* buffer, int64_t address, int64_t length) = 0;
    virtual void Write(const void* buffer, int64_t address, int64_t length) = 0;
};

struct INodeMap {
    virtual ~INodeMap() = default;
    virtual void GetNodes(NodeList_t& nodes) const = 0;
    virtual INode* GetNode(const gcstring& name) const = 0;
    virtual void InvalidateNodes() const = 0;
    virtual bool Connect(IPort* port, const gcstring& portName) const = 0;
    virtual bool Connect(IPort* port) const = 0;
    virtual gcstring GetDeviceName() = 0;
    // Counts down every polled node's PollingTime by `elapsedTime` ms and
    // invalidates (and so calls back) the nodes whose time has come.
    virtual void Poll(int64_t elapsedTime) = 0;
    virtual uint64_t GetNumNodes() const = 0;
    virtual CLock& GetLock() const = 0;
};

// A description's version, or its schema's, as MajorVersion, MinorVersion
// and SubMinorVersion of its RegisterDescription element give it.
struct Version_t {
    uint16_t Major = 0;
    uint16_t Minor = 0;
    uint16_t SubMinor = 0;
};

// What a description says of itself (the attributes of its RegisterDescription
// element, empty or zero when absent); every node map implements it:
// dynamic_cast<IDeviceInfo*>(nodeMap).
struct IDeviceInfo {
    virtual ~IDeviceInfo() = default;
    virtual gcstring GetModelName() = 0;
    virtual gcstring GetVendorName() = 0;
    virtual gcstring GetToolTip() = 0;
    virtual gcstring GetStandardNameSpace() = 0;
    virtual void GetSchemaVersion(Version_t& version) = 0;
    virtual void GetDeviceVersion(Version_t& version) = 0;
    virtual gcstring GetProductGuid() = 0;
    virtual gcstring GetVersionGuid() = 0;
};

} // namespace GenApi
