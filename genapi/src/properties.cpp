#include "properties.h"

#include <array>

#include "name_table.h"

namespace GenApi::detail {

namespace {
constexpr std::array<std::string_view, kKnownPropertyCount> kNames = {
#define GENAPI_PROP_NAME(name) #name,
    GENAPI_PROPERTIES(GENAPI_PROP_NAME)
#undef GENAPI_PROP_NAME
};
} // namespace

std::string_view propertyName(Prop p) {
    auto i = static_cast<size_t>(p);
    return i < kNames.size() ? kNames[i] : std::string_view("?");
}

Prop propertyFromName(std::string_view name) {
    // Asked once per property element of every description loaded.
    static const NameTable<Prop> byName = [] {
        NameTable<Prop> t(kKnownPropertyCount);
        for (uint16_t i = 0; i < kKnownPropertyCount; ++i) t.insert(kNames[i], static_cast<Prop>(i));
        return t;
    }();
    const Prop* found = byName.find(name);
    return found ? *found : Prop::Count;
}

} // namespace GenApi::detail
