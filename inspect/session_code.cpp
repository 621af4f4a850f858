#include "inspect/session_code.h"

#include <algorithm>

#include "GenApi/Pointer.h"
#include "GenICam/exceptions.h"
#include "inspect/node_links.h"
#include "inspect/snippet_generator.h"
#include "qorvis.h"

namespace quillon::inspect {

using namespace GenApi;

namespace {

// Selectors of selectors come before the selectors they select.
void AddSelectors(INode* node, std::vector<INode*>& out, int depth) {
    if (depth > 8) return;
    for (INode* selector : SelectingNodes(node)) {
        if (std::find(out.begin(), out.end(), selector) != out.end()) continue;
        AddSelectors(selector, out, depth + 1);
        if (std::find(out.begin(), out.end(), selector) == out.end()) out.push_back(selector);
    }
}

// What the step's comment says the node was set to.
std::string Described(INode* node) {
    if (node->GetPrincipalInterfaceType() == intfICommand) return NameOf(node) + " executed";
    std::string value;
    try {
        CValuePtr v(node);
        if (v.IsValid() && IsReadable(node->GetAccessMode())) value = std::string(v->ToString());
    } catch (const GenICam::GenericException&) {
        value.clear();
    }
    if (node->GetPrincipalInterfaceType() != intfIString) return NameOf(node) + " = " + value;
    // Quoted and escaped: a line break or a final backslash would end or
    // continue the comment.
    std::string quoted = "\"";
    for (char c : value) {
        if (c == '\\' || c == '"') quoted += '\\';
        quoted += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
    return NameOf(node) + " = " + quoted + "\"";
}

std::string ControlLines(INode* node, int64_t kind) {
    return GenerateSnippets(node, MakeSnippetRequest(node, kind)).controlBlock;
}

} // namespace

std::string SessionStepCode(INode* node, int64_t objectKind, size_t number) {
    const int64_t kind = objectKind ? objectKind : Q_DIGITIZER_OBJECT;
    std::string comment = "\t// " + std::to_string(number) + ". " + Described(node);
    if (kind == Q_SEQUENCE_OBJECT)
        return comment + " (a sequence setting: the library has no feature calls for it)\n";
    std::vector<INode*> selectors;
    AddSelectors(node, selectors, 0);
    std::string lines;
    for (INode* selector : selectors)
        lines += ControlLines(selector, kind);
    lines += ControlLines(node, kind);
    // A block of its own: a feature set twice declares its variable twice.
    std::string block = comment + "\n\t{\n";
    size_t start = 0;
    while (start < lines.size()) {
        size_t end = lines.find('\n', start);
        if (end == std::string::npos) end = lines.size() - 1;
        block += "\t" + lines.substr(start, end + 1 - start);
        start = end + 1;
    }
    return block + "\t}\n";
}

void SessionCode::Record(INode* node, int64_t objectKind) {
    if (node) steps_.push_back(SessionStepCode(node, objectKind, steps_.size() + 1));
}

std::string SessionCode::Text() const {
    std::string text;
    for (const std::string& step : steps_)
        text += step;
    return text;
}

} // namespace quillon::inspect
