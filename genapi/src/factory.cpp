// CNodeMapFactory and CNodeMapRef: where descriptions become node maps.
#include <sys/stat.h>

#include <cstring>

#include "GenApi/NodeMapRef.h"
#include "cache/node_map_cache.h"
#include "loader/loader.h"
#include "node_map.h"

namespace GenApi {

struct CNodeMapFactory::Impl {
    std::string source;     // the file name, or a label for memory
    bool fromFile = false;
    bool zipped = false;
    bool loaded = false;    // `xml` holds the description text
    bool released = false;
    std::string xml;
    ECacheUsage_t cacheUsage = CacheUsage_Automatic;
    bool empty = true;

    const std::string& text() {
        if (!loaded) {
            xml = detail::readDescriptionFile(source, zipped);
            loaded = true;
        }
        return xml;
    }
};

CNodeMapFactory::CNodeMapFactory() : impl_(std::make_shared<Impl>()) {}

CNodeMapFactory::CNodeMapFactory(EContentType contentType, const gcstring& fileName, ECacheUsage_t cacheUsage, bool)
    : impl_(std::make_shared<Impl>()) {
    struct stat st {};
    if (::stat(fileName.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
        throw RUNTIME_EXCEPTION("Cannot open description file '%s'", fileName.c_str());
    impl_->source = fileName;
    impl_->fromFile = true;
    impl_->zipped = contentType == ContentType_ZippedXml;
    impl_->cacheUsage = cacheUsage;
    impl_->empty = false;
}

CNodeMapFactory::CNodeMapFactory(EContentType contentType, const void* data, size_t size, ECacheUsage_t cacheUsage,
                                 bool)
    : impl_(std::make_shared<Impl>()) {
    if (!data) throw INVALID_ARGUMENT_EXCEPTION("No description data given");
    impl_->source = "description in memory";
    std::string_view bytes(static_cast<const char*>(data), size);
    bool zipped = contentType == ContentType_ZippedXml ||
                  (size >= 4 && bytes.substr(0, 4) == std::string_view("PK\x03\x04", 4));
    impl_->xml = zipped ? detail::unzipDescription(data, size, impl_->source) : std::string(bytes);
    impl_->loaded = true;
    impl_->cacheUsage = cacheUsage;
    impl_->empty = false;
}

CNodeMapFactory::~CNodeMapFactory() = default;
CNodeMapFactory::CNodeMapFactory(const CNodeMapFactory&) = default;
CNodeMapFactory& CNodeMapFactory::operator=(const CNodeMapFactory&) = default;

bool CNodeMapFactory::IsEmpty() const { return impl_->empty; }

void CNodeMapFactory::Preprocess() {
    if (!impl_->empty && !impl_->released) impl_->text();
}

void CNodeMapFactory::ReleaseCameraDescriptionFileData() {
    impl_->xml.clear();
    impl_->xml.shrink_to_fit();
    impl_->released = true;
}

INodeMap* CNodeMapFactory::CreateNodeMap(const gcstring& deviceName, bool doRelease) {
    if (impl_->empty) throw RUNTIME_EXCEPTION("The node map factory holds no description");
    if (impl_->released) throw RUNTIME_EXCEPTION("%s: the description was already released", impl_->source.c_str());

    std::string cacheDir = impl_->cacheUsage == CacheUsage_Ignore ? std::string() : detail::NodeMapCache::directory();
    std::string cacheFile;
    detail::CacheKey key;
    if (!cacheDir.empty()) {
        key = impl_->fromFile ? detail::NodeMapCache::keyForFile(impl_->source)
                              : detail::NodeMapCache::keyForMemory(impl_->xml);
        cacheFile = detail::NodeMapCache::fileFor(cacheDir, key);
        if (impl_->cacheUsage != CacheUsage_ForceWrite) {
            if (auto cached = detail::NodeMapCache::load(cacheFile, key, deviceName)) {
                if (doRelease) ReleaseCameraDescriptionFileData();
                return cached.release();
            }
        }
    }
    auto map = std::make_unique<detail::NodeMap>(deviceName);
    detail::Loader(*map, impl_->source).load(impl_->text());
    if (!cacheFile.empty()) detail::NodeMapCache::store(cacheFile, key, *map);
    if (doRelease) ReleaseCameraDescriptionFileData();
    return map.release();
}

// ---------------------------------------------------------------- CNodeMapRef

CNodeMapRef::CNodeMapRef(const gcstring& deviceName) : deviceName_(deviceName) {}
CNodeMapRef::~CNodeMapRef() = default;

void CNodeMapRef::_Attach(INodeMap* nodeMap) {
    // Owned at once: a map refused here must not leak.
    std::unique_ptr<INodeMap> owned(nodeMap);
    if (nodeMap_) throw RUNTIME_EXCEPTION("Node map already created");
    nodeMap_ = std::move(owned);
}

void CNodeMapRef::_LoadXMLFromFile(const gcstring& fileName) {
    if (nodeMap_) throw RUNTIME_EXCEPTION("Node map already created");
    _Attach(CNodeMapFactory(ContentType_Xml, fileName).CreateNodeMap(deviceName_));
}

void CNodeMapRef::_LoadXMLFromZIPFile(const gcstring& zipFileName) {
    if (nodeMap_) throw RUNTIME_EXCEPTION("Node map already created");
    _Attach(CNodeMapFactory(ContentType_ZippedXml, zipFileName).CreateNodeMap(deviceName_));
}

void CNodeMapRef::_LoadXMLFromString(const gcstring& xmlText) {
    if (nodeMap_) throw RUNTIME_EXCEPTION("Node map already created");
    _Attach(CNodeMapFactory(ContentType_Xml, xmlText.data(), xmlText.size()).CreateNodeMap(deviceName_));
}

void CNodeMapRef::_LoadXMLFromZIPData(const void* data, size_t size) {
    if (nodeMap_) throw RUNTIME_EXCEPTION("Node map already created");
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
