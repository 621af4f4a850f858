#include "node_map_loading.h"

#include <fstream>

#include "GenICam/exceptions.h"

std::unique_ptr<CQorTransportLayerBase> CreateTransportLayer(QOR_ID object, int64_t kind) {
    std::unique_ptr<CQorTransportLayerBase> port;
    switch (kind) {
    case Q_DIGITIZER_OBJECT: port = std::make_unique<CQorTransportLayer<QdigTLProxy>>(object); break;
    case Q_SYSTEM_OBJECT: port = std::make_unique<CQorTransportLayer<QsysTLProxy>>(object); break;
    case Q_SEQUENCE_OBJECT: port = std::make_unique<CQorTransportLayer<QseqTLProxy>>(object); break;
    default: return nullptr;
    }
    if (object != 0) {
        QOR_ID owner = 0, generic = 0;
        QobjInquire(object, Q_OWNER_SYSTEM, &owner);
        QobjInquire(object, Q_OBJECT_GENERIC, &generic);
        port->SetFurtherIds(owner, generic);
    }
    return port;
}

std::unique_ptr<NodeMapReference> LoadNodeMapForObject(QOR_ID object, std::unique_ptr<CQorTransportLayerBase>& port,
                                                       const std::string& directory) {
    port.reset();
    QOR_INT64 kind = 0;
    QobjInquire(object, Q_OBJECT_TYPE, &kind);
    std::unique_ptr<CQorTransportLayerBase> created = CreateTransportLayer(object, kind);
    if (!created) return nullptr;

    std::string fileName = created->DescriptionFileName();
    if (fileName.empty()) return nullptr;
    // The directory is used as given: it ends with its own separator.
    std::string path = directory + fileName;
    if (!std::ifstream(path, std::ios::binary)) return nullptr;

    auto reference = std::make_unique<NodeMapReference>();
    if (reference->map._IsValid()) throw RUNTIME_EXCEPTION("Node map already created");
    GenApi::CNodeMapFactory factory(GenApi::ContentType_Xml, path, GenApi::CacheUsage_Automatic);
    reference->map._Attach(factory.CreateNodeMap("Device", true));
    reference->useCount = 1;
    reference->map._Connect(created.get(), "Device");
    port = std::move(created);
    return reference;
}
