#include "inspect/selector_slices.h"

#include <algorithm>
#include <optional>
#include <set>

#include "GenApi/Pointer.h"
#include "GenApi/Synch.h"
#include "GenICam/exceptions.h"
#include "inspect/node_links.h"
#include "inspect/text_format.h"

namespace quillon::inspect {

using namespace GenApi;

namespace {

// Nested selectors deeper than this are read as plain features.
constexpr size_t kMaxNesting = 4;
// Registers up to this length are shown as bytes, longer ones by length.
constexpr int64_t kShownRegisterBytes = 16;

struct Entry {
    std::string label;
    int64_t value = 0;
};

bool IsEnumeration(INode* node) {
    return node->GetPrincipalInterfaceType() == intfIEnumeration;
}

int64_t CurrentValue(INode* selector) {
    if (IsEnumeration(selector)) return CEnumerationPtr(selector)->GetIntValue();
    return CIntegerPtr(selector)->GetValue();
}

void SetValue(INode* selector, int64_t value) {
    if (IsEnumeration(selector))
        CEnumerationPtr(selector)->SetIntValue(value);
    else
        CIntegerPtr(selector)->SetValue(value);
}

// The available entries of an enumeration; an integer's values from its
// minimum by its increment, at most kMaxSliceEntries of them.
std::vector<Entry> Entries(INode* selector, std::string& note) {
    std::vector<Entry> entries;
    if (IsEnumeration(selector)) {
        NodeList_t nodes;
        CEnumerationPtr(selector)->GetEntries(nodes);
        for (INode* node : nodes)
            if (IsAvailable(AccessOf(node))) {
                CEnumEntryPtr entry(node);
                entries.push_back({std::string(entry->GetSymbolic()), entry->GetValue()});
            }
        return entries;
    }
    CIntegerPtr integer(selector);
    const int64_t min = integer->GetMin(), max = integer->GetMax();
    const int64_t inc = std::max<int64_t>(integer->GetInc(), 1);
    const uint64_t count = (static_cast<uint64_t>(max) - static_cast<uint64_t>(min)) / inc + 1;
    for (uint64_t i = 0; i < count && i < kMaxSliceEntries; ++i) {
        int64_t v = min + static_cast<int64_t>(i) * inc;
        entries.push_back({std::to_string(v), v});
    }
    if (count > kMaxSliceEntries)
        note = Format(" (the first %lld of %llu values)", static_cast<long long>(kMaxSliceEntries),
                      static_cast<unsigned long long>(count));
    return entries;
}

std::string Cell(INode* feature) {
    const EInterfaceType type = feature->GetPrincipalInterfaceType();
    if (type == intfICommand) return "command";
    switch (AccessOf(feature)) {
    case NI:
        return "unimplemented";
    case NA:
        return "unavailable";
    case WO:
        return "write-only";
    default:
        break;
    }
    try {
        if (type == intfIRegister) {
            CRegisterPtr reg(feature);
            const int64_t length = reg->GetLength();
            if (length > kShownRegisterBytes)
                return Format("%lld bytes", static_cast<long long>(length));
            std::vector<uint8_t> bytes(static_cast<size_t>(length));
            reg->Get(bytes.data(), length);
            std::string text;
            for (uint8_t b : bytes)
                text += Format(text.empty() ? "%02X" : " %02X", b);
            return text;
        }
        CValuePtr value(feature);
        if (!value.IsValid()) return "unavailable";
        return std::string(value->ToString());
    } catch (const GenICam::GenericException&) {
        return "error";
    }
}

// Sets a selector back to the value it had when this was made: explicitly
// (a failure is thrown) or, on the way out of an exception, quietly.
class Restorer {
public:
    explicit Restorer(INode* selector) : selector_(selector), value_(CurrentValue(selector)) {}
    ~Restorer() {
        if (!done_) try {
                SetValue(selector_, value_);
            } catch (const GenICam::GenericException&) {
                // Nothing better to do while another exception passes.
            }
    }
    Restorer(const Restorer&) = delete;
    Restorer& operator=(const Restorer&) = delete;
    void Restore() {
        done_ = true;
        SetValue(selector_, value_);
    }

private:
    INode* selector_;
    int64_t value_;
    bool done_ = false;
};

class SliceReader {
public:
    std::vector<SliceTable> tables;

    void Read(INode* selector, const std::string& caption, std::vector<INode*> path) {
        path.push_back(selector);
        const std::vector<INode*> selected = SelectedNodes(selector);
        std::vector<INode*> nested;
        std::set<INode*> nestedSelects;
        for (INode* feature : selected)
            if (path.size() < kMaxNesting && IsSliceable(feature) &&
                std::find(path.begin(), path.end(), feature) == path.end()) {
                nested.push_back(feature);
                for (INode* inner : SelectedNodes(feature))
                    nestedSelects.insert(inner);
            }
        std::vector<INode*> columns;
        for (INode* feature : selected)
            if (std::find(nested.begin(), nested.end(), feature) == nested.end() &&
                !nestedSelects.count(feature))
                columns.push_back(feature);

        std::string note;
        const std::vector<Entry> entries = Entries(selector, note);
        const size_t own = tables.size();
        tables.push_back({caption, NameOf(selector), {}, {}});
        for (INode* feature : columns)
            tables[own].features.push_back(NameOf(feature));
        if (!note.empty())
            tables[own].caption = (caption.empty() ? NameOf(selector) : caption) + note;

        Restorer restorer(selector);
        for (const Entry& entry : entries) {
            std::vector<std::string> row{entry.label};
            bool switched = true;
            try {
                SetValue(selector, entry.value);
            } catch (const GenICam::GenericException&) {
                switched = false;
            }
            for (INode* feature : columns)
                row.push_back(switched ? Cell(feature) : "refused");
            tables[own].rows.push_back(std::move(row));
            if (!switched) continue;
            const std::string here =
                (caption.empty() ? "" : caption + ", ") + NameOf(selector) + " = " + entry.label;
            for (INode* inner : nested) {
                if (Switchable(inner)) {
                    Read(inner, here, path);
                    continue;
                }
                // A caption alone, not a table left out unseen.
                const std::string why = here + ": " + NameOf(inner) + " cannot be switched (" +
                                        AccessModeName(AccessOf(inner)) + ")";
                tables.push_back(SliceTable{why, NameOf(inner), {}, {}});
            }
        }
        restorer.Restore();
        // A selector that only carries nested ones needs no table of its own.
        if (columns.empty() && !nested.empty()) tables.erase(tables.begin() + own);
    }

    static bool Switchable(INode* selector) {
        const EAccessMode mode = AccessOf(selector);
        return IsReadable(mode) && IsWritable(mode);
    }
};

} // namespace

bool IsSliceable(INode* node) {
    if (!node) return false;
    const EInterfaceType type = node->GetPrincipalInterfaceType();
    return (type == intfIEnumeration || type == intfIInteger) && !SelectedNodes(node).empty();
}

std::vector<SliceTable> ReadSlices(INode* selector) {
    if (!selector) throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
    const std::string name = NameOf(selector);
    if (!IsSliceable(selector))
        throw ACCESS_EXCEPTION("'%s' is not a selector of integer or enumeration type",
                               name.c_str());
    if (!SliceReader::Switchable(selector))
        throw ACCESS_EXCEPTION("'%s' cannot be switched now: it is %s", name.c_str(),
                               AccessModeName(AccessOf(selector)));
    // Polling threads wait while the selector is switched, and the change
    // callbacks run once, after the selector is back.
    AutoLock lock(selector->GetNodeMap()->GetLock());
    SliceReader reader;
    reader.Read(selector, {}, {});
    return reader.tables;
}

std::string SlicesText(const std::vector<SliceTable>& tables, SliceLayout layout) {
    std::string text;
    for (const SliceTable& table : tables) {
        if (!text.empty()) text += "\n";
        if (!table.caption.empty()) text += table.caption + "\n";
        std::vector<std::vector<std::string>> lines;
        lines.push_back({table.selector});
        lines.back().insert(lines.back().end(), table.features.begin(), table.features.end());
        lines.insert(lines.end(), table.rows.begin(), table.rows.end());
        std::vector<size_t> widths;
        for (const auto& line : lines)
            for (size_t i = 0; i < line.size(); ++i) {
                if (widths.size() <= i) widths.push_back(0);
                widths[i] = std::max(widths[i], line[i].size());
            }
        for (const auto& line : lines) {
            std::string out;
            for (size_t i = 0; i < line.size(); ++i) {
                if (i == 0)
                    out = line[i];
                else if (layout == SliceLayout::Tabs)
                    out += "\t" + line[i];
                else
                    out += std::string(widths[i - 1] - line[i - 1].size() + 2, ' ') + line[i];
            }
            text += out + "\n";
        }
    }
    return text;
}

} // namespace quillon::inspect
