#include "GenApi/Synch.h"

namespace GenApi {

void CLock::unlock() {
    bool outermost = depth_ == 1;
    if (outermost && !releasing_ && beforeRelease_) {
        // Hooks may take the lock again; they must not recurse into themselves.
        releasing_ = true;
        beforeRelease_();
        releasing_ = false;
    }
    --depth_;
    mutex_.unlock();
    if (outermost && afterRelease_) afterRelease_();
}

} // namespace GenApi
