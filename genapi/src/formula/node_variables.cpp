#include "formula/node_variables.h"

#include <cmath>

#include "loader/loader.h"
#include "node.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

bool NodeVariables::take(Loader& loader, Node& owner, const PropertyRecord& record, std::string_view value) {
    auto prop = static_cast<Prop>(record.name);
    if (prop != Prop::pVariable && prop != Prop::Constant && prop != Prop::Expression) return false;
    std::string_view varName = loader.attribute(record, "Name");
    if (varName.empty()) loader.fail(owner, std::string(propertyName(prop)) + " without a Name attribute");
    Var v;
    v.name = std::string(varName);
    if (prop == Prop::pVariable) {
        v.node = loader.ref(owner, prop, value);
        v.kind = Field::Value;
    } else {
        v.kind = prop == Prop::Constant ? Field::Constant : Field::Expression;
        v.text = std::string(value);
    }
    vars_.push_back(std::move(v));
    return true;
}

const NodeVariables::Var* NodeVariables::findVar(std::string_view name) const {
    for (const Var& v : vars_)
        if (v.name == name) return &v;
    return nullptr;
}

int NodeVariables::resolve(std::string_view id) const {
    auto slotFor = [&](const Var* v, Field f, int64_t entryValue) {
        slots_.push_back({static_cast<size_t>(v - vars_.data()), f, entryValue});
        return static_cast<int>(slots_.size() - 1);
    };
    if (const Var* v = findVar(id)) return slotFor(v, v->kind, 0);
    if (id == "TO" && to_) {
        slots_.push_back({SIZE_MAX, Field::To, 0});
        return static_cast<int>(slots_.size() - 1);
    }
    if (id == "FROM") {
        slots_.push_back({SIZE_MAX, Field::From, 0});
        return static_cast<int>(slots_.size() - 1);
    }
    size_t dot = id.find('.');
    if (dot == std::string_view::npos) return -1;
    const Var* v = findVar(id.substr(0, dot));
    if (!v || !v->node) return -1;
    std::string_view member = id.substr(dot + 1);
    if (member == "Value") return slotFor(v, Field::Value, 0);
    if (member == "Min") return slotFor(v, Field::Min, 0);
    if (member == "Max") return slotFor(v, Field::Max, 0);
    if (member == "Inc") return slotFor(v, Field::Inc, 0);
    // NAME.Entry.Symbolic (or NAME.Symbolic) names an enumeration entry's value.
    if (member.substr(0, 6) == "Entry.") member.remove_prefix(6);
    if (auto* e = dynamic_cast<EnumerationNode*>(v->node)) {
        for (EnumEntryNode* entry : e->entries())
            if (entry->symbolic() == member) return slotFor(v, Field::Entry, entry->value());
    }
    return -1;
}

int64_t NodeVariables::intValue(int slot) {
    const Slot s = slots_[static_cast<size_t>(slot)];
    switch (s.field) {
    case Field::From: return fromInt_;
    case Field::To: return toOverridden_ ? toOverrideInt_ : to_->getInt(false, false);
    case Field::Entry: return s.entryValue;
    default: break;
    }
    Var& v = vars_[s.var];
    switch (s.field) {
    case Field::Value:
        return mode_ == FormulaMode::Integer ? v.node->getInt(false, false)
                                             : static_cast<int64_t>(v.node->getFloat(false, false));
    case Field::Min: return v.node->intMin();
    case Field::Max: return v.node->intMax();
    case Field::Inc: return v.node->intInc();
    case Field::Constant:
    case Field::Expression: return evaluateExpression<int64_t>(v);
    default: return 0;
    }
}

double NodeVariables::floatValue(int slot) {
    const Slot s = slots_[static_cast<size_t>(slot)];
    switch (s.field) {
    case Field::From: return fromFloat_;
    case Field::To: return toOverridden_ ? toOverrideFloat_ : to_->getFloat(false, false);
    case Field::Entry: return static_cast<double>(s.entryValue);
    default: break;
    }
    Var& v = vars_[s.var];
    switch (s.field) {
    case Field::Value: return v.node->getFloat(false, false);
    case Field::Min: return v.node->floatMin();
    case Field::Max: return v.node->floatMax();
    case Field::Inc: return v.node->floatInc();
    case Field::Constant:
    case Field::Expression: return evaluateExpression<double>(v);
    default: return 0;
    }
}

EAccessMode NodeVariables::access() {
    for (Var& v : vars_) {
        if (!v.node) continue;
        if (!IsReadable(v.node->access())) return NA;
    }
    return RO;
}

template <class T>
T NodeVariables::evaluateExpression(Var& v) {
    if (v.evaluating)
        throw LOGICAL_ERROR_EXCEPTION("Expression '%s' refers to itself", v.name.c_str());
    // Expressions may chain through each other without any node in between.
    EvaluationLevel level(v.name);
    const Formula& f = compiled(*v.expression, v.text, v.name);
    v.evaluating = true;
    struct Reset {
        bool& flag;
        ~Reset() { flag = false; }
    } reset{v.evaluating};
    if constexpr (std::is_same_v<T, int64_t>) return f.evaluateInt(*this);
    else return f.evaluateFloat(*this);
}

const Formula& NodeVariables::compiled(Formula& cache, const std::string& text,
                                       std::string_view owner, FormulaMode mode) {
    if (!cache.empty()) return cache;
    if (compiling_ > 16)
        throw LOGICAL_ERROR_EXCEPTION("Formula of '%.*s': expressions refer to each other in a cycle",
                                      static_cast<int>(owner.size()), owner.data());
    // Constants and Expressions used by this formula compile on first use too.
    for (Var& v : vars_)
        if ((v.kind == Field::Constant || v.kind == Field::Expression) && !v.expression)
            v.expression = std::make_shared<Formula>();
    ++compiling_;
    try {
        cache = Formula::compile(text, mode, *this);
    } catch (const GenICam::GenericException& e) {
        --compiling_;
        // Name the node: the formula alone does not say where to look.
        throw LOGICAL_ERROR_EXCEPTION("Node '%.*s': %s", static_cast<int>(owner.size()), owner.data(),
                                      e.GetDescription());
    } catch (...) {
        --compiling_;
        throw;
    }
    --compiling_;
    return cache;
}

} // namespace GenApi::detail
