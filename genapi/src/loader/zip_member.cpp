// genapi_zip.so: the description member of a zip archive, with libzip. A
// module of its own, loaded on the first zipped description: libzip and the
// libraries it needs cost every process a millisecond of start-up, and most
// never see a zip.
#include <zip.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include "loader/loader.h"

namespace {

bool endsWithXml(std::string_view name) {
    if (name.size() < 4) return false;
    std::string tail(name.substr(name.size() - 4));
    std::transform(tail.begin(), tail.end(), tail.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    return tail == ".xml";
}

// Resource-fork members of archives made on macOS are not descriptions.
bool isMacResource(std::string_view name) {
    if (name.substr(0, 9) == "__MACOSX/") return true;
    size_t slash = name.rfind('/');
    std::string_view base = slash == std::string_view::npos ? name : name.substr(slash + 1);
    return base.substr(0, 2) == "._";
}

bool unzip(const void* data, size_t size, std::string& xml, std::string& failure) {
    constexpr auto kMax = static_cast<zip_uint64_t>(GenApi::detail::kMaxDescriptionSize);
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source = zip_source_buffer_create(data, size, 0, &error);
    if (!source) {
        failure = std::string("cannot read the zip archive: ") + zip_error_strerror(&error);
        zip_error_fini(&error);
        return false;
    }
    zip_t* archive = zip_open_from_source(source, ZIP_RDONLY, &error);
    if (!archive) {
        failure = std::string("not a zip archive: ") + zip_error_strerror(&error);
        zip_source_free(source);
        zip_error_fini(&error);
        return false;
    }
    zip_error_fini(&error);
    std::unique_ptr<zip_t, void (*)(zip_t*)> closer(archive, [](zip_t* z) { zip_discard(z); });

    zip_int64_t count = zip_get_num_entries(archive, 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        const char* name = zip_get_name(archive, static_cast<zip_uint64_t>(i), 0);
        if (!name || !endsWithXml(name) || isMacResource(name)) continue;
        zip_stat_t st;
        if (zip_stat_index(archive, static_cast<zip_uint64_t>(i), 0, &st) == 0 &&
            (st.valid & ZIP_STAT_SIZE) && st.size > kMax) {
            failure = std::string("member '") + name + "' inflates to " + std::to_string(st.size) +
                      " bytes, more than the " + std::to_string(kMax) + " allowed";
            return false;
        }
        zip_file_t* file = zip_fopen_index(archive, static_cast<zip_uint64_t>(i), 0);
        if (!file) {
            failure = std::string("cannot open member '") + name + "'";
            return false;
        }
        std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> fileCloser(file, zip_fclose);
        xml.clear();
        char chunk[65536];
        // The size in the directory may lie: count what really comes out.
        for (;;) {
            zip_int64_t n = zip_fread(file, chunk, sizeof chunk);
            if (n < 0) {
                failure = std::string("member '") + name + "' is corrupt";
                return false;
            }
            if (n == 0) break;
            if (xml.size() + static_cast<size_t>(n) > kMax) {
                failure = std::string("member '") + name + "' inflates past " +
                          std::to_string(kMax) + " bytes";
                return false;
            }
            xml.append(chunk, static_cast<size_t>(n));
        }
        return true;
    }
    failure = "the zip archive holds no .xml description";
    return false;
}

} // namespace

extern "C" __attribute__((visibility("default"))) bool
GenApiUnzipDescription(const void* data, size_t size, std::string& xml, std::string& failure) {
    try {
        return unzip(data, size, xml, failure);
    } catch (const std::exception& e) { // out of memory: a failure like any other
        failure = e.what();
        return false;
    }
}

static_assert(std::is_same_v<decltype(&GenApiUnzipDescription), GenApi::detail::UnzipFunction>);
