// What every fuzz target does with a node map it managed to build: connect
// every port to zero-filled memory, read every node as the browser would and
// write each writable value back.
// Only GenICam exceptions are expected; anything else escapes and is a finding.
#pragma once

#include <cstddef>
#include <cstdint>

#include "GenApi/GenApi.h"
#include "GenApi/MemoryPort.h"

namespace quillon::fuzz {

inline void ReadEveryNode(GenApi::INodeMap& map) {
    using namespace GenApi;
    CMemoryPort port; // per input: a run never depends on the one before
    NodeList_t nodes;
    map.GetNodes(nodes);
    for (INode* node : nodes)
        if (node->GetPrincipalInterfaceType() == intfIPort) {
            try {
                map.Connect(&port, node->GetName());
            } catch (const GenICam::GenericException&) {
            }
        }
    for (INode* node : nodes) {
        try {
            node->GetAccessMode();
            NodeList_t linked;
            node->GetChildren(linked);
            node->GetParents(linked);
            if (CValuePtr value = node) {
                // Writing the value back runs the conversions of the write path.
                GenICam::gcstring text = value->ToString();
                if (IsWritable(node->GetAccessMode())) value->FromString(text);
            }
            if (CIntegerPtr i = node) i->GetMin(), i->GetMax(), i->GetInc();
            if (CFloatPtr f = node) f->GetMin(), f->GetMax();
            if (CEnumerationPtr e = node) {
                NodeList_t entries;
                e->GetEntries(entries);
                e->GetCurrentEntry();
            }
            if (CCommandPtr c = node) c->IsDone();
        } catch (const GenICam::GenericException&) {
        }
    }
}

} // namespace quillon::fuzz
