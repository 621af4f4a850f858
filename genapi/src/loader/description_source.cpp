// Getting description XML out of files and zip archives.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>

#include "GenICam/exceptions.h"
#include "loader/loader.h"
#include "platform/module_beside.h"

namespace GenApi::detail {

namespace {
bool isZip(std::string_view data) { return data.size() >= 4 && data.substr(0, 4) == std::string_view("PK\x03\x04", 4); }
} // namespace

std::string readDescriptionFile(const std::string& path, bool zipped) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw RUNTIME_EXCEPTION("Cannot open description file '%s'", path.c_str());
    in.seekg(0, std::ios::end);
    auto size = static_cast<std::streamoff>(in.tellg());
    in.seekg(0, std::ios::beg);
    if (size < 0) throw RUNTIME_EXCEPTION("Cannot read description file '%s'", path.c_str());
    // Checked before reading: a huge file is no description and must not be loaded into memory.
    if (static_cast<uint64_t>(size) > kMaxDescriptionSize)
        throw RUNTIME_EXCEPTION("Description file '%s' has %lld bytes, more than the %llu allowed", path.c_str(),
                                static_cast<long long>(size), static_cast<unsigned long long>(kMaxDescriptionSize));
    std::string data(static_cast<size_t>(size), '\0');
    if (!in.read(data.data(), size)) throw RUNTIME_EXCEPTION("Cannot read description file '%s'", path.c_str());
    if (zipped || isZip(data)) return unzipDescription(data.data(), data.size(), path);
    return data;
}

std::string unzipDescription(const void* data, size_t size, const std::string& sourceName) {
    // Loaded once, beside this library; never unloaded.
    static std::string loadFailure;
    static const auto unzip = reinterpret_cast<UnzipFunction>(quillon::platform::OpenModuleEntry(
        reinterpret_cast<const void*>(&unzipDescription), "genapi_zip.so", "GenApiUnzipDescription", loadFailure));
    if (!unzip)
        throw RUNTIME_EXCEPTION("%s: zip archives cannot be read: %s", sourceName.c_str(), loadFailure.c_str());
    std::string xml, failure;
    if (!unzip(data, size, xml, failure)) throw RUNTIME_EXCEPTION("%s: %s", sourceName.c_str(), failure.c_str());
    return xml;
}

} // namespace GenApi::detail
