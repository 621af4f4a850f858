// Finds the description file of an imaging-library object (a system,
// digitizer or sequence) in a folder, loads it as the node map "Device" and
// connects it to a transport port over the object.
#pragma once

#include <memory>
#include <string>

#include "GenApi/NodeMapRef.h"
#include "qor_transport_layer.h"
#include "qorvis.h"

// A loaded node map and how many holders share it.
struct NodeMapReference {
    GenApi::CNodeMapRef map{"Device"};
    int useCount = 0;
};

// The port for an object of the library's object kind `kind`
// (Q_SYSTEM_OBJECT, Q_DIGITIZER_OBJECT or Q_SEQUENCE_OBJECT), nullptr for
// any other kind.
std::unique_ptr<CQorTransportLayerBase> CreateTransportLayer(QOR_ID object, int64_t kind);

// Loads the node map of `object` from `directory` + its description file
// name: the directory must end with its own separator (none is inserted).
// Returns nullptr, and no port, when the object's kind has no port, its board
// type is unknown or the file cannot be opened; GenICam exceptions of parsing
// and connecting pass through.
std::unique_ptr<NodeMapReference> LoadNodeMapForObject(QOR_ID object, std::unique_ptr<CQorTransportLayerBase>& port,
                                                       const std::string& directory);
