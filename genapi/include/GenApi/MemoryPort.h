// A port over a zero-filled byte space that grows on write: lets a description
// be browsed and edited without a device.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>

#include "GenApi/Interfaces.h"

namespace GenApi {

class CMemoryPort : public IPort {
public:
    CMemoryPort();
    ~CMemoryPort() override;

    EAccessMode GetAccessMode() const override { return RW; }
    void Read(void* buffer, int64_t address, int64_t length) override;
    void Write(const void* buffer, int64_t address, int64_t length) override;

    uint64_t ReadCount() const { return reads_; }
    uint64_t WriteCount() const { return writes_; }

private:
    static constexpr uint64_t kPageSize = 4096;
    // Sparse pages, so descriptions with addresses far apart cost nothing.
    std::unordered_map<uint64_t, std::unique_ptr<uint8_t[]>> pages_;
    uint64_t reads_ = 0;
    uint64_t writes_ = 0;
};

} // namespace GenApi
