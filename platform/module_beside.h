// Modules opened on first use (zip archives, Aravis) sit in the folder of the
// shared library that opens them, where the build and an installation put
// them. Header only: the engine and the imaging library each include it.
#pragma once

#include <dlfcn.h>

#include <string>

namespace quillon::platform {

// The entry point `entryName` of the module `fileName` beside the shared
// library holding `anchor` (any function of that library); null, with the
// loader's reason in `failure`, when the module or its entry is missing. The
// module stays loaded for the life of the process.
inline void* OpenModuleEntry(const void* anchor, const char* fileName, const char* entryName,
                             std::string& failure) {
    Dl_info self{};
    std::string path = fileName;
    if (::dladdr(anchor, &self) && self.dli_fname) {
        const std::string library = self.dli_fname;
        if (size_t slash = library.rfind('/'); slash != std::string::npos)
            path = library.substr(0, slash + 1) + path;
    }
    void* module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* entry = module ? ::dlsym(module, entryName) : nullptr;
    if (!entry) failure = ::dlerror();
    return entry;
}

} // namespace quillon::platform
