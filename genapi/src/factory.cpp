// CNodeMapFactory and CNodeMapRef: where descriptions become node maps.
#include <cstring>

#include "GenApi/NodeMapRef.h"
#include "loader/loader.h"
#include "node_map.h"

namespace GenApi {

struct CNodeMapFactory::Impl {
    std::string xml;
    std::string source;
    bool empty = true;
};

CNodeMapFactory::CNodeMapFactory() : impl_(std::make_shared<Impl>()) {}

CNodeMapFactory::CNodeMapFactory(EContentType contentType, const gcstring& fileName, ECacheUsage_t, bool)
    : impl_(std::make_shared<Impl>()) {
    impl_->source = fileName;
    impl_->xml = detail::readDescriptionFile(fileName, contentType == ContentType_ZippedXml);
    impl_->empty = false;
}

CNodeMapFactory::CNodeMapFactory(EContentType contentType, const void* data, size_t size, ECacheUsage_t, bool)
    : impl_(std::make_shared<Impl>()) {
    if (!data) throw INVALID_ARGUMENT_EXCEPTION("No description data given");
    impl_->source = "description in memory";
    std::string_view bytes(static_cast<const char*>(data), size);
    bool zipped = contentType == ContentType_ZippedXml ||
                  (size >= 4 && bytes.substr(0, 4) == std::string_view("PK\x03\x04", 4));
    impl_->xml = zipped ? detail::unzipDescription(data, size, impl_->source) : std::string(bytes);
    impl_->empty = false;
}

CNodeMapFactory::~CNodeMapFactory() = default;
CNodeMapFactory::CNodeMapFactory(const CNodeMapFactory&) = default;
CNodeMapFactory& CNodeMapFactory::operator=(const CNodeMapFactory&) = default;

bool CNodeMapFactory::IsEmpty() const { return impl_->empty; }

void CNodeMapFactory::Preprocess() {}

void CNodeMapFactory::ReleaseCameraDescriptionFileData() {
    impl_->xml.clear();
    impl_->xml.shrink_to_fit();
}

INodeMap* CNodeMapFactory::CreateNodeMap(const gcstring& deviceName, bool doRelease) {
    if (impl_->empty) throw RUNTIME_EXCEPTION("The node map factory holds no description");
    if (impl_->xml.empty()) throw RUNTIME_EXCEPTION("%s: the description was already released", impl_->source.c_str());
    auto map = std::make_unique<detail::NodeMap>(deviceName);
    detail::Loader(*map, impl_->source).load(impl_->xml);
    if (doRelease) ReleaseCameraDescriptionFileData();
    return map.release();
}

// ---------------------------------------------------------------- CNodeMapRef

CNodeMapRef::CNodeMapRef(const gcstring& deviceName) : deviceName_(deviceName) {}
CNodeMapRef::~CNodeMapRef() = default;

void CNodeMapRef::_Attach(INodeMap* nodeMap) {
    if (nodeMap_) throw RUNTIME_EXCEPTION("Node map already created");
    nodeMap_.reset(nodeMap);
}

void CNodeMapRef::_LoadXMLFromFile(const gcstring& fileName) {
    _Attach(CNodeMapFactory(ContentType_Xml, fileName).CreateNodeMap(deviceName_));
}

void CNodeMapRef::_LoadXMLFromZIPFile(const gcstring& zipFileName) {
    _Attach(CNodeMapFactory(ContentType_ZippedXml, zipFileName).CreateNodeMap(deviceName_));
}

void CNodeMapRef::_LoadXMLFromString(const gcstring& xmlText) {
    _Attach(CNodeMapFactory(ContentType_Xml, xmlText.data(), xmlText.size()).CreateNodeMap(deviceName_));
}

void CNodeMapRef::_LoadXMLFromZIPData(const void* data, size_t size) {
    _Attach(CNodeMapFactory(ContentType_ZippedXml, data, size).CreateNodeMap(deviceName_));
}

INodeMap* CNodeMapRef::checked() const {
    if (!nodeMap_) throw ACCESS_EXCEPTION("Feature not present (reference not valid)");
    return nodeMap_.get();
}

INode* CNodeMapRef::_GetNode(const gcstring& name) const { return checked()->GetNode(name); }
void CNodeMapRef::_GetNodes(NodeList_t& nodes) const { checked()->GetNodes(nodes); }
bool CNodeMapRef::_Connect(IPort* port, const gcstring& portName) const { return checked()->Connect(port, portName); }

} // namespace GenApi
