// Creating node maps from GenICam XML descriptions, and the reference that
// holds one under a device name.
#pragma once

#include <cstddef>
#include <memory>

#include "GenApi/Interfaces.h"

namespace GenApi {

// Reads a description (a file or a memory block, plain XML or zipped) and
// creates node maps from it.
class CNodeMapFactory {
public:
    CNodeMapFactory();
    CNodeMapFactory(EContentType contentType, const gcstring& fileName,
                    ECacheUsage_t cacheUsage = CacheUsage_Automatic, bool suppressStringsOnLoad = false);
    CNodeMapFactory(EContentType contentType, const void* data, size_t size,
                    ECacheUsage_t cacheUsage = CacheUsage_Automatic, bool suppressStringsOnLoad = false);
    ~CNodeMapFactory();
    CNodeMapFactory(const CNodeMapFactory&);
    CNodeMapFactory& operator=(const CNodeMapFactory&);

    // The caller owns the returned node map and deletes it with `delete`.
    INodeMap* CreateNodeMap(const gcstring& deviceName = "Device", bool doRelease = true);
    // Parses now; CreateNodeMap does it when needed.
    void Preprocess();
    bool IsEmpty() const;
    void ReleaseCameraDescriptionFileData();

private:
    struct Impl;
    std::shared_ptr<Impl> impl_;
};

// Owns a node map created for a device name (default "Device").
class CNodeMapRef {
public:
    explicit CNodeMapRef(const gcstring& deviceName = "Device");
    ~CNodeMapRef();
    CNodeMapRef(const CNodeMapRef&) = delete;
    CNodeMapRef& operator=(const CNodeMapRef&) = delete;

    void _LoadXMLFromFile(const gcstring& fileName);
    void _LoadXMLFromZIPFile(const gcstring& zipFileName);
    void _LoadXMLFromString(const gcstring& xmlText);
    void _LoadXMLFromZIPData(const void* data, size_t size);
    // Takes ownership of a node map made by a factory.
    void _Attach(INodeMap* nodeMap);

    INodeMap* _Ptr() const { return nodeMap_.get(); }
    bool _IsValid() const { return nodeMap_ != nullptr; }
    gcstring _GetDeviceName() const { return deviceName_; }
    INode* _GetNode(const gcstring& name) const;
    void _GetNodes(NodeList_t& nodes) const;
    bool _Connect(IPort* port, const gcstring& portName = "Device") const;
    void _Destroy() { nodeMap_.reset(); }

    operator INodeMap*() const { return nodeMap_.get(); }

private:
    INodeMap* checked() const;
    gcstring deviceName_;
    std::unique_ptr<INodeMap> nodeMap_;
};

} // namespace GenApi
