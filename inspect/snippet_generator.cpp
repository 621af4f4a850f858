#include "snippet_generator.h"

#include <cctype>

#include "GenApi/Pointer.h"
#include "GenICam/exceptions.h"
#include "inspect/older_constants.h"
#include "qorvis.h"
#include "tl_proxies.h"

namespace quillon::inspect {

using namespace GenApi;

namespace {

// Reads a value text; a GenApi failure or an unreadable node gives `fallback`.
template <class Read>
std::string ReadOr(INode* node, const std::string& fallback, Read&& read) {
    try {
        if (!IsReadable(node->GetAccessMode())) return fallback;
        return read();
    } catch (const GenICam::GenericException&) {
        return fallback;
    }
}

std::string EscapeForLiteral(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
        case '\\': out += "\\\\"; break;
        case '"': out += "\\\""; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        default: out += c;
        }
    }
    return out;
}

// " // " and the entry's display text; entries that describe a connector pin
// keep only the connector part: the text up to 22 characters past the start
// of "Connector:", cut at its first line break.
std::string EntryComment(INode* entry) {
    std::string display(entry->GetDisplayName());
    size_t at = display.find("Connector:");
    if (at == std::string::npos) return " // " + display;
    std::string pin = display.substr(0, at + 22);
    size_t lineBreak = pin.find_first_of("\r\n");
    if (lineBreak != std::string::npos) pin.resize(lineBreak);
    return " // Pin info: " + pin;
}

std::string ValueTest(IEnumeration& enumeration, const std::string& var) {
    NodeList_t entries;
    enumeration.GetEntries(entries);
    std::string text;
    if (entries.size() > 4) {
        text += "\t\tswitch (" + var + "\t\t   {\n";
        for (INode* entry : entries)
            text += "\t\t   case " + std::string(CEnumEntryPtr(entry)->GetSymbolic()) + ":  break; " +
                    EntryComment(entry) + "\n";
        text += "\t\t   }\n";
        return text;
    }
    bool first = true;
    for (INode* entry : entries) {
        text += first ? "\t\tif (" : "\t\telse if (";
        text += var + " == " + std::string(CEnumEntryPtr(entry)->GetSymbolic()) + ")" + EntryComment(entry) +
                "\n\t\t   {}\n";
        first = false;
    }
    return text;
}

} // namespace

FeatureCallTexts FeatureCallTextsFor(int64_t objectKind) {
    if (objectKind == Q_SYSTEM_OBJECT) return {"QsysControlFeature(", "QsysInquireFeature(", "QorSystem, "};
    if (objectKind == Q_SEQUENCE_OBJECT) return {"QseqControlFeature(", "QseqInquireFeature(", "QorSequence, "};
    return {"QdigControlFeature(", "QdigInquireFeature(", "QorDigitizer, "};
}

std::string TypeTag(INode* node) {
    if (!node) return {};
    switch (node->GetPrincipalInterfaceType()) {
    case intfIInteger:
    case intfICommand: return "INT";
    case intfIBoolean: return "BOOL";
    case intfIFloat: return "FLOAT";
    case intfIString: return "STR";
    case intfIRegister: return "REG";
    case intfIEnumeration: return "ENUM";
    default: return {};
    }
}

bool IsValue64Bit(INode* node, int64_t objectKind) {
    const std::optional<int64_t> type = ControlType(node);
    if (!type) return false;
    const int64_t address = *type;
    if (objectKind == Q_SYSTEM_OBJECT) return QsysTLProxy().IsClass2(address);
    if (objectKind == Q_DIGITIZER_OBJECT) return QdigTLProxy().IsClass2(address);
    if (objectKind == Q_SEQUENCE_OBJECT) return QseqTLProxy().IsClass2(address);
    return false;
}

std::string VariableName(std::string_view featureName, std::string_view unit) {
    std::string source(featureName);
    if (!unit.empty()) source += "In" + std::string(unit);
    std::string var;
    for (size_t i = 0; i < source.size(); ++i) {
        auto c = static_cast<unsigned char>(source[i]);
        if (c == 0xC2 && i + 1 < source.size() && static_cast<unsigned char>(source[i + 1]) == 0xB5) {
            var += 'u'; // MICRO SIGN in UTF-8
            ++i;
        } else if (c < 0x80 && std::isalnum(c)) {
            var += static_cast<char>(c);
        }
    }
    return var;
}

std::vector<std::string> SnippetTexts::ShownPieces() const {
    std::vector<std::string> pieces;
    auto add = [&](bool shown, const std::string& text) {
        if (shown && !text.empty()) pieces.push_back(text);
    };
    add(showControl && showOneLine, oneLineControl);
    add(showControl, controlBlock);
    add(showInquire && showOneLine, oneLineInquire);
    add(showInquire, inquireBlock);
    add(showInquire, valueTest);
    return pieces;
}

SnippetRequest MakeSnippetRequest(INode* node, int64_t objectKind) {
    SnippetRequest request;
    request.featureName = std::string(node->GetName());
    request.objectKind = objectKind;
    FeatureCallTexts texts = FeatureCallTextsFor(objectKind);
    request.controlFunction = texts.controlFunction;
    request.inquireFunction = texts.inquireFunction;
    request.handleArgument = texts.handleArgument;
    request.olderConstant = OlderControlConstant(node, objectKind);
    return request;
}

SnippetTexts GenerateSnippets(INode* node, const SnippetRequest& rq) {
    SnippetTexts out;
    if (!node) return out;
    const EInterfaceType type = node->GetPrincipalInterfaceType();

    std::string fn = rq.usePrefix ? rq.prefix + ":" + rq.featureName : rq.featureName;
    std::string unit;
    try {
        if (type == intfIInteger) unit = std::string(CIntegerPtr(node)->GetUnit());
        if (type == intfIFloat) unit = std::string(CFloatPtr(node)->GetUnit());
    } catch (const GenICam::GenericException&) {
        unit.clear();
    }
    // The variable keeps the name a sequence's lines lose below.
    const std::string var = VariableName(fn, unit);

    std::string cp, ip;
    if (rq.objectKind == Q_SYSTEM_OBJECT) {
        ip = "\tQsysInquire(QorSystem, ";
        cp = "\tQsysControl(QorSystem, ";
    } else if (rq.objectKind == Q_DIGITIZER_OBJECT) {
        ip = "\tQdigInquire(QorDigitizer, ";
        cp = "\tQdigControl(QorDigitizer, ";
    }
    // Sequence lines quote an empty feature name and have no one-line prefix.
    if (rq.objectKind == Q_SEQUENCE_OBJECT) fn.clear();
    const std::string k = rq.olderConstant != "Q_NULL" ? rq.olderConstant + " + " : std::string();
    const std::string& ctrl = rq.controlFunction;
    const std::string& inq = rq.inquireFunction;
    const std::string& arg = rq.handleArgument;
    const std::string quoted = "QOR_TEXT(\"" + fn + "\")";
    const std::string svar = var + "StringSize";
    const std::string bvar = var + "Ptr";

    auto stringInquire = [&](const std::string& declaration) {
        return declaration + "\t" + inq + arg + "Q_FEATURE_VALUE + Q_STRING_SIZE, " + quoted +
               ", Q_TYPE_QOR_INT, &" + svar + ");\n" + "\tQOR_TEXT_PTR " + bvar + " = new QOR_TEXT_CHAR[" + svar +
               "];\n" + "\t" + inq + arg + "Q_FEATURE_VALUE, " + quoted + ", Q_TYPE_STRING, " + bvar + ");\n" +
               "\tdelete [] " + bvar + ";\n";
    };

    switch (type) {
    case intfIInteger:
    case intfIBoolean: {
        const bool integer = type == intfIInteger;
        std::string val;
        if (integer)
            val = ReadOr(node, "0", [&] { return std::string(CIntegerPtr(node)->ToString()); });
        else
            val = ReadOr(node, "Q_FALSE", [&] { return std::string(CBooleanPtr(node)->GetValue() ? "Q_TRUE" : "Q_FALSE"); });
        const char* declType = integer ? "\tQOR_INT64 " : "\tQOR_BOOL ";
        const char* dataType = integer ? "Q_TYPE_INT64" : "Q_TYPE_BOOLEAN";
        out.oneLineControl = cp + k + fn + ", " + val + ");\n";
        out.oneLineInquire = "\tQOR_INT" + std::string(IsValue64Bit(node, rq.objectKind) ? "64 " : " ") + var +
                             " = 0;\n" + ip + k + fn + ", &" + var + ");\n";
        out.controlBlock = declType + var + " = " + val + ";\n" + "\t" + ctrl + arg + "Q_FEATURE_VALUE, " + quoted +
                           ", " + dataType + ", &" + var + ");\n";
        out.inquireBlock = declType + var + (integer ? " = 0;\n" : " = Q_FALSE;\n") + "\t" + inq + arg +
                           "Q_FEATURE_VALUE, " + quoted + ", " + dataType + ", &" + var + ");\n";
        break;
    }
    case intfICommand: {
        std::string val;
        GenICam::gcstring value, attribute;
        if (node->GetProperty("CommandValue", value, attribute))
            val = std::string(value) == "268435456" ? std::string("Q_DEFAULT") : std::string(value);
        out.oneLineControl = cp + k + fn + ", " + val + ");\n";
        out.oneLineInquire = ip + k + fn + ", &" + var + ");\n";
        out.controlBlock = "\t" + ctrl + arg + "Q_FEATURE_EXECUTE, " + quoted + ", Q_DEFAULT, Q_NULL);\n";
        break;
    }
    case intfIFloat: {
        std::string val = ReadOr(node, "0", [&] { return std::string(CFloatPtr(node)->ToString()); });
        out.oneLineControl = cp + k + fn + ", " + val + ");\n";
        out.oneLineInquire = "\tQOR_DOUBLE " + var + " = 0.0;\n" + ip + k + fn + ", &" + var + ");\n";
        out.controlBlock = "\tQOR_DOUBLE " + var + " = " + val + ";\n" + "\t" + ctrl + arg + "Q_FEATURE_VALUE, " +
                           quoted + ", Q_TYPE_DOUBLE, &" + var + ");\n";
        // A bare 0 here, 0.0 in the one-line declaration: both read the same.
        out.inquireBlock = "\tQOR_DOUBLE " + var + " = 0;\n" + "\t" + inq + arg + "Q_FEATURE_VALUE, " + quoted +
                           ", Q_TYPE_DOUBLE, &" + var + ");\n";
        break;
    }
    case intfIString: {
        std::string val = ReadOr(node, "", [&] { return std::string(CStringPtr(node)->GetValue()); });
        // The size call has no older constant; the text call has it.
        out.oneLineInquire = "\tQOR_INT " + svar + " = 0;\n" + ip + fn + "_SIZE, &" + svar + ");\n" +
                             "\tQOR_TEXT_PTR " + bvar + " = new QOR_TEXT_CHAR[" + svar + "];\n" + ip + k + fn +
                             ", " + bvar + ");" + "\n\tdelete [] " + bvar + ";\n";
        out.controlBlock = "\t" + ctrl + arg + "Q_FEATURE_VALUE, " + quoted + ", Q_TYPE_STRING, QOR_TEXT(\"" +
                           EscapeForLiteral(val) + "\"));\n";
        out.inquireBlock = stringInquire("\tQOR_INT " + svar + " = 0;\n");
        break;
    }
    case intfIRegister: {
        const std::string rvar = var + "Size";
        const std::string size = "\t" + inq + arg + "Q_FEATURE_SIZE, " + quoted + ", Q_TYPE_QOR_INT, &" + rvar + ");\n" +
                                 "\tQOR_UINT8* p" + var + " = new QOR_UINT8[" + rvar + "];\n";
        const std::string release = "\tdelete [] p" + var + ";\n";
        out.controlBlock = "\tQOR_INT " + rvar + " = 0;\n" + size + "\t// Initialize p" + var + " here.\n" + "\t" +
                           ctrl + arg + "Q_FEATURE_VALUE, " + quoted + ", Q_TYPE_UINT8, p" + var + ");\n" + release;
        out.inquireBlock = "\tQOR_INT " + rvar + " = 0;\n" + size + "\t" + inq + arg + "Q_FEATURE_VALUE, " + quoted +
                           ", Q_TYPE_UINT8, p" + var + ");\n" + release;
        break;
    }
    case intfIEnumeration: {
        CEnumerationPtr enumeration(node);
        std::string val, comment;
        try {
            if (IsReadable(node->GetAccessMode())) {
                IEnumEntry* entry = enumeration->GetCurrentEntry();
                if (entry) {
                    val = std::string(entry->GetSymbolic());
                    comment = EntryComment(entry->GetNode());
                }
            }
        } catch (const GenICam::GenericException&) {
            val.clear(); // the device's value matches no entry
            comment.clear();
        }
        out.oneLineControl = cp + k + fn + ", " + val + ");" + comment + "\n";
        out.controlBlock = "\t" + ctrl + arg + "Q_FEATURE_VALUE, " + quoted + ", Q_TYPE_STRING, QOR_TEXT(\"" +
                           EscapeForLiteral(val) + "\"));\n";
        // "QOR_INT64" and the integer's width suffix: a 64-bit value gives
        // "QOR_INT6464", as the library's older samples spell it.
        out.inquireBlock = stringInquire("\tQOR_INT64" + std::string(IsValue64Bit(node, rq.objectKind) ? "64 " : " ") +
                                         svar + " = 0;\n");
        try {
            out.valueTest = ValueTest(*enumeration, var);
        } catch (const GenICam::GenericException&) {
            out.valueTest.clear();
        }
        break;
    }
    default: return out;
    }

    EAccessMode access = NA;
    try {
        access = node->GetAccessMode();
    } catch (const GenICam::GenericException&) {
        access = NA;
    }
    out.showControl = rq.bothBlocks || IsWritable(access);
    out.showInquire = rq.bothBlocks || IsReadable(access);
    out.showOneLine = !k.empty() && (rq.objectKind == Q_SYSTEM_OBJECT || rq.objectKind == Q_DIGITIZER_OBJECT);

    if (rq.selector) {
        const SnippetTexts& s = *rq.selector;
        out.oneLineControl = s.oneLineControl + out.oneLineControl;
        out.oneLineInquire = s.oneLineControl + out.oneLineInquire;
        out.controlBlock = s.controlBlock + out.controlBlock;
        if (!out.inquireBlock.empty()) out.inquireBlock = s.controlBlock + out.inquireBlock;
    }
    return out;
}

} // namespace quillon::inspect
