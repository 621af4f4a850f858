// Camera descriptions of any size for the scale benchmarks, shaped like the
// vendor files: categories nested three deep, selectors with their entries
// and selected features, registers, formulas (converters and swiss knives),
// and the texts (tool tip, description, display name) a vendor writes.
#pragma once

#include <cstddef>
#include <string>

namespace quillon_bench {

struct GeneratedDescription {
    std::string xml;
    size_t nodes = 0;      // every node, enumeration entries included
    size_t features = 0;   // what the categories list, categories aside
    size_t categories = 0; // Root included
};

// A description of at least `nodes` nodes: whole groups of 29 nodes (10 of
// them features), the categories that hold them (one per group, one per 16
// groups, one per 256 groups, and Root), and the port.
GeneratedDescription GenerateDescription(size_t nodes);

// The same, sized by the number of features the categories list.
GeneratedDescription GenerateDescriptionWithFeatures(size_t features);

} // namespace quillon_bench
