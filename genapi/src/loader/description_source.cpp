// Getting description XML out of files and zip archives.
#include <zip.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>

#include "GenICam/exceptions.h"
#include "loader/loader.h"

namespace GenApi::detail {

namespace {
// A description is a few MiB at most; anything inflating past this is refused.
constexpr zip_uint64_t kMaxInflatedSize = 64ull * 1024 * 1024;

bool isZip(std::string_view data) { return data.size() >= 4 && data.substr(0, 4) == std::string_view("PK\x03\x04", 4); }

bool endsWithXml(std::string_view name) {
    if (name.size() < 4) return false;
    std::string tail(name.substr(name.size() - 4));
    std::transform(tail.begin(), tail.end(), tail.begin(), [](unsigned char c) { return std::tolower(c); });
    return tail == ".xml";
}

// Resource-fork members of archives made on macOS are not descriptions.
bool isMacResource(std::string_view name) {
    if (name.substr(0, 9) == "__MACOSX/") return true;
    size_t slash = name.rfind('/');
    std::string_view base = slash == std::string_view::npos ? name : name.substr(slash + 1);
    return base.substr(0, 2) == "._";
}
} // namespace

std::string readDescriptionFile(const std::string& path, bool zipped) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw RUNTIME_EXCEPTION("Cannot open description file '%s'", path.c_str());
    in.seekg(0, std::ios::end);
    auto size = static_cast<std::streamoff>(in.tellg());
    in.seekg(0, std::ios::beg);
    if (size < 0) throw RUNTIME_EXCEPTION("Cannot read description file '%s'", path.c_str());
    // Checked before reading: a huge file is no description and must not be loaded into memory.
    if (static_cast<zip_uint64_t>(size) > kMaxInflatedSize)
        throw RUNTIME_EXCEPTION("Description file '%s' has %lld bytes, more than the %llu allowed", path.c_str(),
                                static_cast<long long>(size), static_cast<unsigned long long>(kMaxInflatedSize));
    std::string data(static_cast<size_t>(size), '\0');
    if (!in.read(data.data(), size)) throw RUNTIME_EXCEPTION("Cannot read description file '%s'", path.c_str());
    if (zipped || isZip(data)) return unzipDescription(data.data(), data.size(), path);
    return data;
}

std::string unzipDescription(const void* data, size_t size, const std::string& sourceName) {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source = zip_source_buffer_create(data, size, 0, &error);
    if (!source) {
        std::string text = zip_error_strerror(&error);
        zip_error_fini(&error);
        throw RUNTIME_EXCEPTION("%s: cannot read the zip archive: %s", sourceName.c_str(), text.c_str());
    }
    zip_t* archive = zip_open_from_source(source, ZIP_RDONLY, &error);
    if (!archive) {
        std::string text = zip_error_strerror(&error);
        zip_source_free(source);
        zip_error_fini(&error);
        throw RUNTIME_EXCEPTION("%s: not a zip archive: %s", sourceName.c_str(), text.c_str());
    }
    zip_error_fini(&error);
    std::unique_ptr<zip_t, void (*)(zip_t*)> closer(archive, [](zip_t* z) { zip_discard(z); });

    zip_int64_t count = zip_get_num_entries(archive, 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        const char* name = zip_get_name(archive, static_cast<zip_uint64_t>(i), 0);
        if (!name || !endsWithXml(name) || isMacResource(name)) continue;
        zip_stat_t st;
        if (zip_stat_index(archive, static_cast<zip_uint64_t>(i), 0, &st) == 0 && (st.valid & ZIP_STAT_SIZE) &&
            st.size > kMaxInflatedSize)
            throw RUNTIME_EXCEPTION("%s: member '%s' inflates to %llu bytes, more than the %llu allowed",
                                    sourceName.c_str(), name, static_cast<unsigned long long>(st.size),
                                    static_cast<unsigned long long>(kMaxInflatedSize));
        zip_file_t* file = zip_fopen_index(archive, static_cast<zip_uint64_t>(i), 0);
        if (!file) throw RUNTIME_EXCEPTION("%s: cannot open member '%s'", sourceName.c_str(), name);
        std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> fileCloser(file, zip_fclose);
        std::string xml;
        char chunk[65536];
        // The size in the directory may lie: count what really comes out.
        for (;;) {
            zip_int64_t n = zip_fread(file, chunk, sizeof chunk);
            if (n < 0) throw RUNTIME_EXCEPTION("%s: member '%s' is corrupt", sourceName.c_str(), name);
            if (n == 0) break;
            if (xml.size() + static_cast<size_t>(n) > kMaxInflatedSize)
                throw RUNTIME_EXCEPTION("%s: member '%s' inflates past %llu bytes", sourceName.c_str(), name,
                                        static_cast<unsigned long long>(kMaxInflatedSize));
            xml.append(chunk, static_cast<size_t>(n));
        }
        return xml;
    }
    throw RUNTIME_EXCEPTION("%s: the zip archive holds no .xml description", sourceName.c_str());
}

} // namespace GenApi::detail
