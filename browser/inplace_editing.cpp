#include "browser/inplace_editing.h"

#include <algorithm>

#include "GenApi/Pointer.h"
#include "GenICam/exceptions.h"
#include "browser/value_rendering.h"
#include "inspect/value_commit.h"
#include "types/integer_display.h"

namespace quillon::browser {

namespace {

// The value part of the row's text, without the padding around the tab.
std::string ShownValue(const FeatureRow& row) {
    const std::string text = RowText(row.label, row.node);
    const size_t tab = text.find('\t');
    if (tab == std::string::npos) return {};
    const size_t begin = text.find_first_not_of(' ', tab + 1);
    return begin == std::string::npos ? std::string() : text.substr(begin);
}

EditorPlan IntegerPlan(const FeatureRow& row) {
    GenApi::CIntegerPtr integer(row.node);
    EditorPlan plan;
    const GenApi::ERepresentation representation =
        DisplayRepresentation(row.node->GetName().c_str(), integer->GetRepresentation());
    plan.text = ShownValue(row);
    // Addresses and bit patterns are typed as text in their own notation.
    if (representation == GenApi::HexNumber || representation == GenApi::IPV4Address ||
        representation == GenApi::MACAddress) {
        plan.kind = EditorKind::Edit;
        return plan;
    }
    plan.kind = EditorKind::Integer;
    plan.value = integer->GetValue();
    plan.minimum = integer->GetMin();
    plan.maximum = integer->GetMax();
    plan.increment = std::max<int64_t>(1, integer->GetInc());
    // The step count in unsigned arithmetic: the span of a full 64-bit range overflows.
    const uint64_t span = static_cast<uint64_t>(plan.maximum) - static_cast<uint64_t>(plan.minimum);
    plan.slider = plan.maximum > plan.minimum && span / static_cast<uint64_t>(plan.increment) <=
                                                     static_cast<uint64_t>(kMaxSliderSteps);
    return plan;
}

} // namespace

EditorPlan PlanEditor(const FeatureRow& row) {
    EditorPlan plan;
    if (!row.node) return plan;
    const GenApi::EAccessMode mode = row.node->GetAccessMode();
    const bool writable = GenApi::IsWritable(mode);
    switch (row.node->GetPrincipalInterfaceType()) {
    case GenApi::intfIInteger:
        if (writable && GenApi::IsReadable(mode)) return IntegerPlan(row);
        break;
    case GenApi::intfIFloat:
    case GenApi::intfIString:
        if (writable && GenApi::IsReadable(mode)) {
            plan.kind = EditorKind::Edit;
            plan.text = ShownValue(row);
        }
        break;
    case GenApi::intfIEnumeration:
        if (writable && GenApi::IsReadable(mode)) {
            GenApi::CEnumerationPtr enumeration(row.node);
            GenApi::IEnumEntry* current = enumeration->GetCurrentEntry();
            const std::string currentName = current ? current->GetSymbolic().c_str() : "";
            GenApi::NodeList_t entries;
            enumeration->GetEntries(entries);
            plan.kind = EditorKind::Combo;
            for (GenApi::INode* e : entries) {
                if (!GenApi::IsAvailable(e->GetAccessMode())) continue;
                GenApi::CEnumEntryPtr entry(e);
                if (current && entry->GetSymbolic().c_str() == currentName)
                    plan.current = static_cast<int>(plan.choices.size());
                plan.choices.push_back(entry->GetSymbolic().c_str());
            }
        }
        break;
    case GenApi::intfIBoolean:
        if (GenApi::IsReadable(mode)) {
            plan.kind = writable ? EditorKind::Check : EditorKind::None;
            plan.checked = GenApi::CBooleanPtr(row.node)->GetValue();
        }
        break;
    case GenApi::intfICommand:
        if (writable) plan.kind = EditorKind::Command;
        break;
    case GenApi::intfIRegister:
        if (GenApi::IsReadable(mode)) plan.kind = EditorKind::Register;
        break;
    default:
        break;
    }
    return plan;
}

int SliderPosition(const EditorPlan& plan, int64_t value) {
    if (!plan.slider) return 0;
    const int64_t clamped = std::clamp(value, plan.minimum, plan.maximum);
    return static_cast<int>((static_cast<uint64_t>(clamped) - static_cast<uint64_t>(plan.minimum)) /
                            static_cast<uint64_t>(plan.increment));
}

int64_t SliderValue(const EditorPlan& plan, int position) {
    const uint64_t offset =
        static_cast<uint64_t>(std::max(position, 0)) * static_cast<uint64_t>(plan.increment);
    return std::min(static_cast<int64_t>(static_cast<uint64_t>(plan.minimum) + offset),
                    plan.maximum);
}

std::string ToggleBoolean(const FeatureRow& row) {
    GenApi::CBooleanPtr boolean(row.node);
    const bool next = !boolean->GetValue();
    const inspect::CommitResult result =
        inspect::CommitValue(row.node, row.node->GetName().c_str(), next ? "1" : "0", row.context);
    return result.written ? std::string() : result.message;
}

} // namespace quillon::browser
