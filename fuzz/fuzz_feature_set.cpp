// Fuzz target: the feature-set file parser. A file that parses without
// errors must write back as text that parses to the same set, with no
// difference from itself; any other outcome aborts as a finding.
#include <cstdlib>
#include <string_view>

#include "inspect/feature_set_format.h"

using namespace quillon::inspect;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const ParsedFeatureSet parsed = ParseFeatureSet(text);
    for (const LineError& e : parsed.errors)
        if (e.message.empty()) std::abort(); // every refusal says why
    if (!parsed.errors.empty()) return 0;
    const std::string written = WriteFeatureSet(parsed.set);
    const ParsedFeatureSet again = ParseFeatureSet(written);
    if (!again.errors.empty()) std::abort();
    if (WriteFeatureSet(again.set) != written) std::abort();
    if (!CompareFeatureSets(parsed.set, again.set).empty()) std::abort();
    return 0;
}
