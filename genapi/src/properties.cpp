#include "properties.h"

#include <array>
#include <unordered_map>

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
    static const std::unordered_map<std::string_view, Prop> byName = [] {
        std::unordered_map<std::string_view, Prop> m;
        for (uint16_t i = 0; i < kKnownPropertyCount; ++i) m.emplace(kNames[i], static_cast<Prop>(i));
        return m;
    }();
    auto it = byName.find(name);
    return it == byName.end() ? Prop::Count : it->second;
}

} // namespace GenApi::detail
