// GenICam feature access: QdigControlFeature/QdigInquireFeature on the
// digitizer's camera, QsysControlFeature/QsysInquireFeature on the system's
// own description. Node maps are used outside the library lock (they have
// their own), with the object kept alive for the duration of the call.
#include <cstring>
#include <memory>
#include <string>

#include "GenApi/GenApi.h"
#include "api/errors.h"
#include "api/objects.h"
#include "qorvis.h"

using namespace qorvis::api;

namespace {

struct Target {
    std::shared_ptr<Object> keepAlive;
    GenApi::INodeMap* map = nullptr;
};

Target digitizerMap(QOR_ID digId) {
    LibraryLock lock(libraryMutex());
    auto d = require<DigitizerObject>(digId, Kind::Digitizer);
    return {d, d->cameraMap->_Ptr()};
}

// The system's settings also change through QsysControl, behind the node
// map's caches: every feature call starts from the current values.
Target systemMap(QOR_ID sysId) {
    Target target;
    {
        LibraryLock lock(libraryMutex());
        auto s = require<SystemObject>(sysId, Kind::System);
        target = {s, s->ownMap->_Ptr()};
    }
    target.map->InvalidateNodes();
    return target;
}

const char* interfaceName(GenApi::INode* node) {
    switch (node->GetPrincipalInterfaceType()) {
    case GenApi::intfIInteger: return "an integer";
    case GenApi::intfIBoolean: return "a boolean";
    case GenApi::intfICommand: return "a command";
    case GenApi::intfIFloat: return "a float";
    case GenApi::intfIString: return "a string";
    case GenApi::intfIRegister: return "a register";
    case GenApi::intfICategory: return "a category";
    case GenApi::intfIEnumeration: return "an enumeration";
    case GenApi::intfIEnumEntry: return "an enumeration entry";
    case GenApi::intfIPort: return "a port";
    default: return "a value";
    }
}

std::string dataTypeName(int64_t type) {
    switch (type) {
    case Q_TYPE_INT64: return "Q_TYPE_INT64";
    case Q_TYPE_DOUBLE: return "Q_TYPE_DOUBLE";
    case Q_TYPE_BOOLEAN: return "Q_TYPE_BOOLEAN";
    case Q_TYPE_STRING: return "Q_TYPE_STRING";
    case Q_TYPE_QOR_INT: return "Q_TYPE_QOR_INT";
    case Q_TYPE_UINT8: return "Q_TYPE_UINT8";
    default: return "data type " + std::to_string(type);
    }
}

[[noreturn]] void wrongType(GenApi::INode* node, int64_t type) {
    fail(Q_ERR_FEATURE, "Invalid data type.",
         std::string(node->GetName()) + " is " + interfaceName(node) + " feature; " + dataTypeName(type) +
             " does not apply.");
}

GenApi::INode* requireNode(GenApi::INodeMap* map, const char* name) {
    if (!name) fail(Q_ERR_INVALID_PARAMETER, "Invalid feature name.", "The feature name is a null pointer.");
    GenApi::INode* node = map->GetNode(name);
    if (!node) fail(Q_ERR_FEATURE, "Unknown feature.", "The node map has no feature named \"" + std::string(name) + "\".");
    return node;
}

void requireVariable(const void* pointer) {
    if (!pointer) fail(Q_ERR_INVALID_PARAMETER, "Invalid user variable pointer.", "The value needs a variable; it is null.");
}

bool isIntegerType(int64_t type) { return type == Q_TYPE_INT64 || type == Q_TYPE_QOR_INT; }

// The text of a string feature, or an enumeration's symbolic value.
std::string featureText(GenApi::INode* node, int64_t type) {
    if (GenApi::CStringPtr s = node) return std::string(s->GetValue());
    if (GenApi::CEnumerationPtr e = node) return std::string(e->ToString());
    wrongType(node, type);
}

void store(void* out, int64_t value) { std::memcpy(out, &value, sizeof value); }

void inquireFeature(GenApi::INodeMap* map, int64_t inquireType, const char* name, int64_t type, void* out) {
    GenApi::INode* node = requireNode(map, name);
    switch (inquireType) {
    case Q_FEATURE_VALUE:
        requireVariable(out);
        switch (type) {
        case Q_TYPE_INT64:
        case Q_TYPE_QOR_INT:
            if (GenApi::CIntegerPtr i = node) return store(out, i->GetValue());
            if (GenApi::CEnumerationPtr e = node) return store(out, e->GetIntValue());
            if (GenApi::CBooleanPtr b = node) return store(out, b->GetValue() ? 1 : 0);
            wrongType(node, type);
        case Q_TYPE_DOUBLE:
            if (GenApi::CFloatPtr f = node) {
                double v = f->GetValue();
                std::memcpy(out, &v, sizeof v);
                return;
            }
            wrongType(node, type);
        case Q_TYPE_BOOLEAN:
            if (GenApi::CBooleanPtr b = node) return store(out, b->GetValue() ? Q_TRUE : Q_FALSE);
            wrongType(node, type);
        case Q_TYPE_STRING: {
            std::string text = featureText(node, type);
            std::memcpy(out, text.c_str(), text.size() + 1);
            return;
        }
        case Q_TYPE_UINT8:
            if (GenApi::CRegisterPtr r = node) return r->Get(static_cast<uint8_t*>(out), r->GetLength());
            wrongType(node, type);
        default: wrongType(node, type);
        }
    case Q_FEATURE_VALUE + Q_STRING_SIZE:
        requireVariable(out);
        if (!isIntegerType(type)) wrongType(node, type);
        return store(out, static_cast<int64_t>(featureText(node, type).size() + 1));
    case Q_FEATURE_SIZE:
        requireVariable(out);
        if (!isIntegerType(type)) wrongType(node, type);
        if (GenApi::CRegisterPtr r = node) return store(out, r->GetLength());
        wrongType(node, type);
    default:
        fail(Q_ERR_INVALID_PARAMETER, "Invalid inquire type.",
             "Inquire type " + std::to_string(inquireType) +
                 " is none of Q_FEATURE_VALUE, Q_FEATURE_VALUE + Q_STRING_SIZE, Q_FEATURE_SIZE.");
    }
}

void controlFeature(GenApi::INodeMap* map, int64_t controlFlag, const char* name, int64_t type, const void* in) {
    GenApi::INode* node = requireNode(map, name);
    switch (controlFlag) {
    case Q_FEATURE_VALUE:
        requireVariable(in);
        switch (type) {
        case Q_TYPE_INT64:
        case Q_TYPE_QOR_INT: {
            int64_t v = 0;
            std::memcpy(&v, in, sizeof v);
            if (GenApi::CIntegerPtr i = node) return i->SetValue(v);
            if (GenApi::CEnumerationPtr e = node) return e->SetIntValue(v);
            if (GenApi::CBooleanPtr b = node) {
                if (v != 0 && v != 1) fail(Q_ERR_OUT_OF_RANGE, "Value " + std::to_string(v) + " is not one of 0, 1.");
                return b->SetValue(v == 1);
            }
            wrongType(node, type);
        }
        case Q_TYPE_DOUBLE:
            if (GenApi::CFloatPtr f = node) {
                double v = 0;
                std::memcpy(&v, in, sizeof v);
                return f->SetValue(v);
            }
            wrongType(node, type);
        case Q_TYPE_BOOLEAN:
            if (GenApi::CBooleanPtr b = node) {
                QOR_BOOL v = 0;
                std::memcpy(&v, in, sizeof v);
                return b->SetValue(v != Q_FALSE);
            }
            wrongType(node, type);
        case Q_TYPE_STRING: {
            const char* text = static_cast<const char*>(in);
            if (GenApi::CStringPtr s = node) return s->SetValue(text);
            if (GenApi::CEnumerationPtr e = node) {
                if (!e->GetEntryByName(text))
                    fail(Q_ERR_FEATURE, "Unknown enumeration entry.",
                         std::string(node->GetName()) + " has no entry named \"" + text + "\".");
                return e->FromString(text);
            }
            wrongType(node, type);
        }
        case Q_TYPE_UINT8:
            if (GenApi::CRegisterPtr r = node) return r->Set(static_cast<const uint8_t*>(in), r->GetLength());
            wrongType(node, type);
        default: wrongType(node, type);
        }
    case Q_FEATURE_EXECUTE:
        if (GenApi::CCommandPtr c = node) return c->Execute();
        fail(Q_ERR_FEATURE, "Invalid data type.",
             std::string(node->GetName()) + " is " + interfaceName(node) + " feature, not a command.");
    default:
        fail(Q_ERR_INVALID_PARAMETER, "Invalid control flag.",
             "Control flag " + std::to_string(controlFlag) + " is neither Q_FEATURE_VALUE nor Q_FEATURE_EXECUTE.");
    }
}

} // namespace

extern "C" void QdigControlFeature(QOR_ID digId, QOR_INT64 controlFlag, QOR_CONST_TEXT_PTR featureName,
                                   QOR_INT64 userVarType, const void* userVarPtr) {
    guardedVoid("QdigControlFeature", [&] {
        Target target = digitizerMap(digId);
        controlFeature(target.map, controlFlag, featureName, userVarType, userVarPtr);
    });
}

extern "C" void QdigInquireFeature(QOR_ID digId, QOR_INT64 inquireType, QOR_CONST_TEXT_PTR featureName,
                                   QOR_INT64 userVarType, void* userVarPtr) {
    guardedVoid("QdigInquireFeature", [&] {
        Target target = digitizerMap(digId);
        inquireFeature(target.map, inquireType, featureName, userVarType, userVarPtr);
    });
}

extern "C" void QsysControlFeature(QOR_ID sysId, QOR_INT64 controlFlag, QOR_CONST_TEXT_PTR featureName,
                                   QOR_INT64 userVarType, const void* userVarPtr) {
    guardedVoid("QsysControlFeature", [&] {
        Target target = systemMap(sysId);
        controlFeature(target.map, controlFlag, featureName, userVarType, userVarPtr);
    });
}

extern "C" void QsysInquireFeature(QOR_ID sysId, QOR_INT64 inquireType, QOR_CONST_TEXT_PTR featureName,
                                   QOR_INT64 userVarType, void* userVarPtr) {
    guardedVoid("QsysInquireFeature", [&] {
        Target target = systemMap(sysId);
        inquireFeature(target.map, inquireType, featureName, userVarType, userVarPtr);
    });
}
