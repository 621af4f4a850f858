// The node map's lock: recursive, shared by every thread that touches the map
// (a polling thread and the GUI thread), usable with std::lock_guard.
#pragma once

#include <functional>
#include <mutex>

namespace GenApi {

class CLock {
public:
    CLock() = default;
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;

    void Lock() { lock(); }
    void Unlock() { unlock(); }
    bool TryLock() { return try_lock(); }

    void lock() {
        mutex_.lock();
        ++depth_;
    }
    bool try_lock() {
        if (!mutex_.try_lock()) return false;
        ++depth_;
        return true;
    }
    void unlock();

    // Runs when the outermost holder is about to release the lock, still
    // holding it (node maps fire their callbacks here).
    void SetReleaseHook(std::function<void()> beforeRelease, std::function<void()> afterRelease) {
        beforeRelease_ = std::move(beforeRelease);
        afterRelease_ = std::move(afterRelease);
    }

private:
    std::recursive_mutex mutex_;
    int depth_ = 0; // changed only by the holder
    bool releasing_ = false;
    std::function<void()> beforeRelease_;
    std::function<void()> afterRelease_;
};

class AutoLock {
public:
    explicit AutoLock(CLock& lock) : lock_(lock) { lock_.Lock(); }
    ~AutoLock() { lock_.Unlock(); }
    AutoLock(const AutoLock&) = delete;
    AutoLock& operator=(const AutoLock&) = delete;

private:
    CLock& lock_;
};

} // namespace GenApi
