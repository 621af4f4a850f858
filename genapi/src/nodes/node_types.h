// The node types of the GenApi schema. Each type's behaviour lives in a file
// of its own under nodes/; this header declares them together because the
// loader creates them by element name.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "formula/node_variables.h"
#include "node.h"
#include "node_map.h"

namespace GenApi::detail {

class PortNode;
class EnumEntryNode;

// Creates the node for an element name, or nullptr when the name is no node type.
NodePtr createNode(std::string_view elementName, NodeMap& map, uint32_t index);
bool isNodeType(std::string_view elementName);
// Node types by a small number, for the node-map cache; 0 is no type.
uint8_t nodeTypeId(std::string_view elementName);
NodePtr createNode(uint8_t typeId, NodeMap& map, uint32_t index);

// ---------------------------------------------------------------- plain node
class PlainNode final : public Node {
public:
    using Node::Node;
    const char* typeName() const override { return "Node"; }
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIBase; }
};

// ---------------------------------------------------------------- value base
// The IValue services common to every value node.
class ValueNode : public Node, public virtual IValue {
public:
    using Node::Node;
    INode* GetNode() override { return this; }
    bool IsValueCacheValid() const override { return false; }
};

// ---------------------------------------------------------------- category
class CategoryNode final : public ValueNode, public virtual ICategory {
public:
    using ValueNode::ValueNode;
    const char* typeName() const override { return "Category"; }
    void serialize(Archive& archive) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfICategory; }
    void GetFeatures(FeatureList_t& features) const override;
    gcstring ToString(bool, bool) override { return {}; }
    void FromString(const gcstring&, bool) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    const std::vector<Node*>& features() const { return features_; }

private:
    std::vector<Node*> features_;
};

// ---------------------------------------------------------------- registers
// Address, length, port and cache of a register-backed node.
class RegisterCore {
public:
    explicit RegisterCore(Node& owner) : owner_(owner) {}
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex);
    // `defaultLength` 0: the description must give a Length.
    void finish(Loader& loader, int64_t defaultLength);

    int64_t address();
    int64_t length();
    EAccessMode access();
    // Reads `length()` bytes (or `n` when given) from the cache or the port.
    void read(uint8_t* buffer, int64_t n, bool ignoreCache);
    void write(const uint8_t* buffer, int64_t n);
    void dropCache() { cacheValid_ = false; }
    bool cacheValid() const { return cacheValid_; }
    int64_t cachedAddress() const { return cacheAddress_; }
    int64_t cachedLength() const { return static_cast<int64_t>(cache_.size()); }
    RegisterCacheNote& indexNote() { return indexNote_; }
    // Drops the cache when [address, address+n) on `port` overlaps it.
    void dropIfOverlaps(int64_t address, int64_t n, const void* port);
    void serialize(Archive& archive);

private:
    struct Index {
        Node* node;
        int64_t offset;
        Node* pOffset;
        void serialize(Archive& archive);
    };
    struct Knife {
        std::unique_ptr<NodeVariables> vars;
        std::string text;
        Formula formula;
        void serialize(Archive& archive);
    };

    Node& owner_;
    PortNode* port_ = nullptr;
    int64_t constantAddress_ = 0;
    std::vector<Node*> addressNodes_;
    std::vector<Knife> knives_;
    std::vector<Index> indices_;
    NumberSource<int64_t> length_;
    EAccessMode accessMode_ = RO;
    ECachingMode caching_ = WriteThrough;
    bool cacheValid_ = false;
    int64_t cacheAddress_ = 0;
    std::vector<uint8_t> cache_;
    RegisterCacheNote indexNote_;
    friend class Node;
};

// ---------------------------------------------------------------- integers
// IInteger over the engine-internal protocol: locking, checks and texts.
class IntegerBase : public ValueNode, public virtual IInteger {
public:
    using ValueNode::ValueNode;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIInteger; }
    void SetValue(int64_t value, bool verify = true) override;
    int64_t GetValue(bool verify = false, bool ignoreCache = false) override;
    int64_t GetMin() override;
    int64_t GetMax() override;
    EIncMode GetIncMode() override { return fixedIncrement; }
    int64_t GetInc() override;
    int64_autovector_t GetListOfValidValues(bool) override { return {}; }
    ERepresentation GetRepresentation() override;
    gcstring GetUnit() override;
    void ImposeMin(int64_t value) override;
    void ImposeMax(int64_t value) override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueStr, bool verify = true) override;

    int64_t intMin() override;
    int64_t intMax() override;

protected:
    virtual int64_t naturalMin() { return INT64_MIN; }
    virtual int64_t naturalMax() { return INT64_MAX; }
    // Range and increment check of a value about to be written.
    void checkWrite(int64_t value);
    bool hasImposedMin_ = false, hasImposedMax_ = false;
    int64_t imposedMin_ = INT64_MIN, imposedMax_ = INT64_MAX;
};

class IntegerNode final : public IntegerBase {
public:
    using IntegerBase::IntegerBase;
    const char* typeName() const override { return "Integer"; }
    void serialize(Archive& archive) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
    int64_t getInt(bool verify, bool ignoreCache) override;
    void setInt(int64_t value, bool verify) override;
    int64_t intInc() override;
    ERepresentation representation() override;
    std::string unit() override;

protected:
    EAccessMode baseAccess() override;
    int64_t naturalMin() override;
    int64_t naturalMax() override;

private:
    // The node that holds the value now (pValue, or the indexed one).
    Node* target();
    struct Indexed {
        int64_t index;
        Node* node;
        int64_t constant;
        void serialize(Archive& archive);
    };
    NumberSource<int64_t> value_;
    NumberSource<int64_t> min_, max_, inc_;
    NumberSource<int64_t> default_;
    Node* index_ = nullptr;
    std::vector<Indexed> indexed_;
    std::vector<Node*> copies_;
    TextRef unit_{};
    ERepresentation representation_ = _UndefinedRepresentation;
};

class IntRegNode : public IntegerBase {
public:
    IntRegNode(NodeMap& map, uint32_t index) : IntegerBase(map, index), reg_(*this) {}
    const char* typeName() const override { return "IntReg"; }
    void serialize(Archive& archive) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
    int64_t getInt(bool verify, bool ignoreCache) override;
    void setInt(int64_t value, bool verify) override;
    ERepresentation representation() override { return representation_ == _UndefinedRepresentation ? PureNumber : representation_; }
    std::string unit() override;
    void dropCache() override { reg_.dropCache(); }
    RegisterCore* registerCore() override { return &reg_; }
    bool IsValueCacheValid() const override { return reg_.cacheValid(); }
    RegisterCore& core() { return reg_; }

protected:
    EAccessMode baseAccess() override { return reg_.access(); }
    int64_t naturalMin() override;
    int64_t naturalMax() override;
    // The bits of the register this node covers: [lsb, msb] counted from the
    // least significant bit of the register's value.
    virtual int firstBit() { return 0; }
    virtual int lastBit() { return static_cast<int>(reg_.length() * 8 - 1); }
    uint64_t readRaw(bool ignoreCache);
    void writeRaw(uint64_t raw);

    RegisterCore reg_;
    bool signed_ = false;
    EEndianess endianess_ = LittleEndian;
    ERepresentation representation_ = _UndefinedRepresentation;
    TextRef unit_{};
};

class MaskedIntRegNode final : public IntRegNode {
public:
    using IntRegNode::IntRegNode;
    const char* typeName() const override { return "MaskedIntReg"; }
    void serialize(Archive& archive) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;

protected:
    int firstBit() override;
    int lastBit() override;

private:
    int64_t lsb_ = -1, msb_ = -1;
};

// Schema 1.0 IIDC nodes that read a plain big-endian register.
class AdvFeatureLockNode final : public IntRegNode {
public:
    using IntRegNode::IntRegNode;
    const char* typeName() const override { return "AdvFeatureLock"; }
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
};

class SmartFeatureNode final : public IntRegNode {
public:
    using IntRegNode::IntRegNode;
    const char* typeName() const override { return "SmartFeature"; }
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
};

class IntSwissKnifeNode final : public IntegerBase {
public:
    IntSwissKnifeNode(NodeMap& map, uint32_t index) : IntegerBase(map, index), vars_(FormulaMode::Integer) {}
    const char* typeName() const override { return "IntSwissKnife"; }
    void serialize(Archive& archive) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
    int64_t getInt(bool verify, bool ignoreCache) override;
    ERepresentation representation() override { return representation_ == _UndefinedRepresentation ? PureNumber : representation_; }
    std::string unit() override;

protected:
    EAccessMode baseAccess() override;

private:
    NodeVariables vars_;
    std::string text_;
    Formula formula_;
    TextRef unit_{};
    ERepresentation representation_ = _UndefinedRepresentation;
};

class IntConverterNode final : public IntegerBase {
public:
    IntConverterNode(NodeMap& map, uint32_t index)
        : IntegerBase(map, index), vars_(FormulaMode::Integer) {}
    const char* typeName() const override { return "IntConverter"; }
    void serialize(Archive& archive) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
    int64_t getInt(bool verify, bool ignoreCache) override;
    void setInt(int64_t value, bool verify) override;
    ERepresentation representation() override { return representation_ == _UndefinedRepresentation ? PureNumber : representation_; }
    std::string unit() override;

protected:
    EAccessMode baseAccess() override;
    int64_t naturalMin() override;
    int64_t naturalMax() override;

private:
    int64_t convertFrom(int64_t deviceValue, int64_t unbounded);
    NodeVariables vars_;
    Node* value_ = nullptr;
    std::string toText_, fromText_;
    Formula to_, from_, fromOverDoubles_;
    TextRef unit_{};
    ESlope slope_ = Automatic;
    ERepresentation representation_ = _UndefinedRepresentation;
};

// ---------------------------------------------------------------- floats
class FloatBase : public ValueNode, public virtual IFloat {
public:
    using ValueNode::ValueNode;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIFloat; }
    void SetValue(double value, bool verify = true) override;
    double GetValue(bool verify = false, bool ignoreCache = false) override;
    double GetMin() override;
    double GetMax() override;
    bool HasInc() override;
    EIncMode GetIncMode() override { return HasInc() ? fixedIncrement : noIncrement; }
    double GetInc() override;
    double_autovector_t GetListOfValidValues(bool) override { return {}; }
    ERepresentation GetRepresentation() override;
    gcstring GetUnit() const override;
    EDisplayNotation GetDisplayNotation() const override { return notation_; }
    int64_t GetDisplayPrecision() const override { return precision_; }
    void ImposeMin(double value) override;
    void ImposeMax(double value) override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueStr, bool verify = true) override;

    int64_t getInt(bool verify, bool ignoreCache) override;
    void setInt(int64_t value, bool verify) override { setFloat(static_cast<double>(value), verify); }
    int64_t intMin() override;
    int64_t intMax() override;
    double floatMin() override;
    double floatMax() override;
    ERepresentation representation() override { return representation_ == _UndefinedRepresentation ? PureNumber : representation_; }
    std::string unit() override;

    void serialize(Archive& archive) override;

protected:
    bool applyFloatCommon(Loader& loader, Prop prop, std::string_view value);
    virtual double naturalMin() { return -1.7976931348623157e308; }
    virtual double naturalMax() { return 1.7976931348623157e308; }
    virtual bool naturalHasInc() { return false; }
    void checkWrite(double value);
    TextRef unit_{};
    ERepresentation representation_ = _UndefinedRepresentation;
    EDisplayNotation notation_ = fnAutomatic;
    int64_t precision_ = 6;
    bool hasImposedMin_ = false, hasImposedMax_ = false;
    double imposedMin_ = 0, imposedMax_ = 0;
};

class FloatNode final : public FloatBase {
public:
    using FloatBase::FloatBase;
    const char* typeName() const override { return "Float"; }
    void serialize(Archive& archive) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
    double getFloat(bool verify, bool ignoreCache) override;
    void setFloat(double value, bool verify) override;
    double floatInc() override;
    ERepresentation representation() override;
    std::string unit() override;

protected:
    EAccessMode baseAccess() override;
    double naturalMin() override;
    double naturalMax() override;
    bool naturalHasInc() override { return inc_.present; }

private:
    Node* target();
    struct Indexed {
        int64_t index;
        Node* node;
        double constant;
        void serialize(Archive& archive);
    };
    NumberSource<double> value_, min_, max_, inc_, default_;
    Node* index_ = nullptr;
    std::vector<Indexed> indexed_;
    std::vector<Node*> copies_;
};

class FloatRegNode final : public FloatBase {
public:
    FloatRegNode(NodeMap& map, uint32_t index) : FloatBase(map, index), reg_(*this) {}
    const char* typeName() const override { return "FloatReg"; }
    void serialize(Archive& archive) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
    double getFloat(bool verify, bool ignoreCache) override;
    void setFloat(double value, bool verify) override;
    void dropCache() override { reg_.dropCache(); }
    RegisterCore* registerCore() override { return &reg_; }
    bool IsValueCacheValid() const override { return reg_.cacheValid(); }

protected:
    EAccessMode baseAccess() override { return reg_.access(); }
    double naturalMin() override;
    double naturalMax() override;

private:
    RegisterCore reg_;
    EEndianess endianess_ = LittleEndian;
};

class SwissKnifeNode final : public FloatBase {
public:
    SwissKnifeNode(NodeMap& map, uint32_t index) : FloatBase(map, index), vars_(FormulaMode::Float) {}
    const char* typeName() const override { return "SwissKnife"; }
    void serialize(Archive& archive) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
    double getFloat(bool verify, bool ignoreCache) override;

protected:
    EAccessMode baseAccess() override;

private:
    NodeVariables vars_;
    std::string text_;
    Formula formula_;
};

class ConverterNode final : public FloatBase {
public:
    ConverterNode(NodeMap& map, uint32_t index) : FloatBase(map, index), vars_(FormulaMode::Float) {}
    const char* typeName() const override { return "Converter"; }
    void serialize(Archive& archive) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
    double getFloat(bool verify, bool ignoreCache) override;
    void setFloat(double value, bool verify) override;

protected:
    EAccessMode baseAccess() override;
    double naturalMin() override;
    double naturalMax() override;

private:
    double convertFrom(double deviceValue);
    NodeVariables vars_;
    Node* value_ = nullptr;
    std::string toText_, fromText_;
    Formula to_, from_;
    ESlope slope_ = Automatic;
};

// ---------------------------------------------------------------- boolean, command
class BooleanNode final : public ValueNode, public virtual IBoolean {
public:
    using ValueNode::ValueNode;
    const char* typeName() const override { return "Boolean"; }
    void serialize(Archive& archive) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIBoolean; }
    void SetValue(bool value, bool verify = true) override;
    bool GetValue(bool verify = false, bool ignoreCache = false) const override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueStr, bool verify = true) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
    int64_t getInt(bool verify, bool ignoreCache) override;
    void setInt(int64_t value, bool verify) override;
    bool boolValue(bool verify, bool ignoreCache);

protected:
    EAccessMode baseAccess() override;

private:
    NumberSource<int64_t> value_;
    int64_t on_ = 1, off_ = 0;
};

class CommandNode final : public ValueNode, public virtual ICommand {
public:
    using ValueNode::ValueNode;
    const char* typeName() const override { return "Command"; }
    void serialize(Archive& archive) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfICommand; }
    void Execute(bool verify = true) override;
    bool IsDone(bool verify = true) override;
    gcstring ToString(bool, bool) override { return {}; }
    void FromString(const gcstring& valueStr, bool verify = true) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
    int64_t commandValue();

protected:
    EAccessMode baseAccess() override;

private:
    NumberSource<int64_t> value_;
    NumberSource<int64_t> command_;
    bool executing_ = false; // executed and not yet seen done
};

// ---------------------------------------------------------------- enumerations
class EnumEntryNode final : public ValueNode, public virtual IEnumEntry {
public:
    using ValueNode::ValueNode;
    static constexpr const char* kTypeName = "EnumEntry";
    const char* typeName() const override { return kTypeName; }
    void serialize(Archive& archive) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIEnumEntry; }
    int64_t GetValue() override { return value_; }
    gcstring GetSymbolic() const override { return gcstring(symbolic()); }
    double GetNumericValue() override { return hasNumeric_ ? numeric_ : static_cast<double>(value_); }
    bool IsSelfClearing() override { return selfClearing_; }
    gcstring ToString(bool, bool) override { return GetSymbolic(); }
    void FromString(const gcstring&, bool) override;
    // An entry without a display name shows its symbolic name, not the
    // generated node name.
    gcstring GetDisplayName() const override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
    int64_t getInt(bool, bool) override { return value_; }
    std::string_view symbolic() const;
    void setSymbolic(TextRef s) { symbolic_ = s; }
    int64_t value() const { return value_; }

private:
    TextRef symbolic_{};
    int64_t value_ = 0;
    double numeric_ = 0;
    bool hasNumeric_ = false;
    bool hasValue_ = false;
    bool selfClearing_ = false;
};

class EnumerationNode final : public ValueNode, public virtual IEnumeration {
public:
    using ValueNode::ValueNode;
    const char* typeName() const override { return "Enumeration"; }
    void serialize(Archive& archive) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIEnumeration; }
    void GetSymbolics(StringList_t& symbolics) override;
    void GetEntries(NodeList_t& entries) override;
    void SetIntValue(int64_t value, bool verify = true) override;
    int64_t GetIntValue(bool verify = false, bool ignoreCache = false) override;
    IEnumEntry* GetEntryByName(const gcstring& symbolic) override;
    IEnumEntry* GetEntry(int64_t intValue) override;
    IEnumEntry* GetCurrentEntry(bool verify = false, bool ignoreCache = false) override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueStr, bool verify = true) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
    int64_t getInt(bool verify, bool ignoreCache) override;
    void setInt(int64_t value, bool verify) override;
    void addEntry(EnumEntryNode* e) { entries_.push_back(e); }
    const std::vector<EnumEntryNode*>& entries() const { return entries_; }
    EnumEntryNode* entryByValue(int64_t v) const;

protected:
    EAccessMode baseAccess() override;

private:
    EnumEntryNode* current(bool verify, bool ignoreCache);
    NumberSource<int64_t> value_;
    std::vector<EnumEntryNode*> entries_;
};

// ---------------------------------------------------------------- strings, registers, ports
class StringNode final : public ValueNode, public virtual IString {
public:
    using ValueNode::ValueNode;
    const char* typeName() const override { return "String"; }
    void serialize(Archive& archive) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIString; }
    void SetValue(const gcstring& value, bool verify = true) override;
    gcstring GetValue(bool verify = false, bool ignoreCache = false) override;
    int64_t GetMaxLength() override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override { return GetValue(verify, ignoreCache); }
    void FromString(const gcstring& valueStr, bool verify = true) override { SetValue(valueStr, verify); }
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;

protected:
    EAccessMode baseAccess() override;

private:
    std::string value_;
    Node* pValue_ = nullptr;
};

class StringRegNode final : public ValueNode, public virtual IString {
public:
    StringRegNode(NodeMap& map, uint32_t index) : ValueNode(map, index), reg_(*this) {}
    const char* typeName() const override { return "StringReg"; }
    void serialize(Archive& archive) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIString; }
    void SetValue(const gcstring& value, bool verify = true) override;
    gcstring GetValue(bool verify = false, bool ignoreCache = false) override;
    int64_t GetMaxLength() override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override { return GetValue(verify, ignoreCache); }
    void FromString(const gcstring& valueStr, bool verify = true) override { SetValue(valueStr, verify); }
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
    void dropCache() override { reg_.dropCache(); }
    RegisterCore* registerCore() override { return &reg_; }
    bool IsValueCacheValid() const override { return reg_.cacheValid(); }
    std::string stringValue(bool ignoreCache);
    void writeString(const std::string& value, bool verify);

protected:
    EAccessMode baseAccess() override { return reg_.access(); }

private:
    RegisterCore reg_;
};

class RegisterNode : public ValueNode, public virtual IRegister {
public:
    RegisterNode(NodeMap& map, uint32_t index) : ValueNode(map, index), reg_(*this) {}
    const char* typeName() const override { return "Register"; }
    void serialize(Archive& archive) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIRegister; }
    void Set(const uint8_t* buffer, int64_t length, bool verify = true) override;
    void Get(uint8_t* buffer, int64_t length, bool verify = false, bool ignoreCache = false) override;
    int64_t GetLength() override;
    int64_t GetAddress() override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueStr, bool verify = true) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
    void dropCache() override { reg_.dropCache(); }
    RegisterCore* registerCore() override { return &reg_; }
    bool IsValueCacheValid() const override { return reg_.cacheValid(); }
    RegisterCore& core() { return reg_; }

protected:
    EAccessMode baseAccess() override { return reg_.access(); }
    RegisterCore reg_;
};

// An IEEE 1212 configuration ROM; IntKey and TextDesc read entries of its
// root directory.
class ConfRomNode final : public RegisterNode {
public:
    using RegisterNode::RegisterNode;
    static constexpr const char* kTypeName = "ConfRom";
    const char* typeName() const override { return kTypeName; }
    // The 24-bit value of the root directory entry with `key`.
    bool findEntry(uint8_t key, uint32_t& value, int64_t& entryOffset);
    std::vector<uint8_t> bytes();
};

class IntKeyNode final : public IntegerBase {
public:
    using IntegerBase::IntegerBase;
    const char* typeName() const override { return "IntKey"; }
    void serialize(Archive& archive) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;
    int64_t getInt(bool verify, bool ignoreCache) override;

protected:
    EAccessMode baseAccess() override;
    int64_t naturalMin() override { return 0; }
    int64_t naturalMax() override { return 0xFFFFFF; }

private:
    ConfRomNode* rom_ = nullptr;
    int64_t key_ = -1;
};

class TextDescNode final : public ValueNode, public virtual IString {
public:
    using ValueNode::ValueNode;
    const char* typeName() const override { return "TextDesc"; }
    void serialize(Archive& archive) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIString; }
    void SetValue(const gcstring&, bool) override;
    gcstring GetValue(bool verify = false, bool ignoreCache = false) override;
    int64_t GetMaxLength() override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override { return GetValue(verify, ignoreCache); }
    void FromString(const gcstring& valueStr, bool verify = true) override { SetValue(valueStr, verify); }
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void finishConfigure(Loader& loader) override;

protected:
    EAccessMode baseAccess() override;

private:
    std::string text();
    ConfRomNode* rom_ = nullptr;
    int64_t key_ = -1;
};

class PortNode final : public Node, public virtual IPort {
public:
    using Node::Node;
    static constexpr const char* kTypeName = "Port";
    const char* typeName() const override { return kTypeName; }
    void serialize(Archive& archive) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIPort; }
    void Read(void* buffer, int64_t address, int64_t length) override;
    void Write(const void* buffer, int64_t address, int64_t length) override;
    bool applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                       uint32_t recordIndex) override;
    void connect(IPort* port) { port_ = port; }
    IPort* connected() const { return port_; }

protected:
    EAccessMode baseAccess() override;

private:
    IPort* port_ = nullptr;
    bool swapEndianess_ = false;
};

} // namespace GenApi::detail
