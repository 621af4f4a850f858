// Threads and sleep through the C API.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>

#include "qorvis.h"
#include "qorvis_api_support.h"

namespace {

using namespace qorvis_test;
using Clock = std::chrono::steady_clock;

class Threads : public QorvisTest {};

struct Work {
    std::atomic<int> runs{0};
    std::atomic<bool> release{false};
    QOR_ID digitizer = 0;
    QOR_INT64 seen = 0;
};

QOR_INT countOnce(void* data) {
    static_cast<Work*>(data)->runs++;
    return 0;
}

QOR_INT waitForRelease(void* data) {
    auto* w = static_cast<Work*>(data);
    while (!w->release) QappSleep(0.001);
    w->runs++;
    return 0;
}

// A thread that uses the library, as a polling thread does.
QOR_INT useLibrary(void* data) {
    auto* w = static_cast<Work*>(data);
    for (int i = 0; i < 200; ++i) QdigInquire(w->digitizer, Q_DIG_GRAB_TIMEOUT, &w->seen);
    w->runs++;
    return 0;
}

TEST_F(Threads, RunWaitAndFree) {
    Work work;
    QOR_ID thread = 0;
    EXPECT_EQ(QthrAlloc(sys, countOnce, &work, &thread), thread);
    ASSERT_NE(thread, 0);
    QthrWait(thread, Q_THREAD_WAIT_END);
    EXPECT_EQ(work.runs, 1);
    QthrWait(thread, Q_THREAD_WAIT_END); // already ended: returns at once
    QthrFree(thread);
    EXPECT_NO_PENDING_ERROR();
    QthrWait(thread, Q_THREAD_WAIT_END);
    EXPECT_PENDING_ERROR("QthrWait", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
}

TEST_F(Threads, WaitBlocksUntilTheFunctionReturnsAndFreeWaitsToo) {
    Work work;
    QOR_ID waited = 0, freed = 0;
    QthrAlloc(Q_DEFAULT, waitForRelease, &work, &waited);
    QthrAlloc(Q_NULL, waitForRelease, &work, &freed);
    QOR_INT64 count = 0;
    QappInquire(Q_DEFAULT_APPLICATION, Q_APP_THREAD_COUNT, &count);
    EXPECT_EQ(count, 2);
    QOR_INT64 owner = -1;
    QobjInquire(waited, Q_OWNER_SYSTEM, &owner);
    EXPECT_EQ(owner, 0) << "a host thread belongs to no system";
    QappSleep(0.05);
    EXPECT_EQ(work.runs, 0);
    auto start = Clock::now();
    std::thread releaser([&] {
        QappSleep(0.1);
        work.release = true;
    });
    QthrWait(waited, Q_THREAD_WAIT_END);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(90));
    QthrFree(freed); // waits for the function to return
    EXPECT_EQ(work.runs, 2);
    QthrFree(waited);
    releaser.join();
    QappInquire(Q_DEFAULT_APPLICATION, Q_APP_THREAD_COUNT, &count);
    EXPECT_EQ(count, 0);
    EXPECT_NO_PENDING_ERROR();
}

TEST_F(Threads, ThreadsCallTheLibraryAlongsideTheCaller) {
    Work a, b;
    a.digitizer = b.digitizer = dig;
    QOR_ID ta = 0, tb = 0;
    QthrAlloc(sys, useLibrary, &a, &ta);
    QthrAlloc(sys, useLibrary, &b, &tb);
    for (int i = 0; i < 200; ++i) QdigControl(dig, Q_DIG_GRAB_TIMEOUT, 1000 + i);
    QthrWait(ta, Q_THREAD_WAIT_END);
    QthrWait(tb, Q_THREAD_WAIT_END);
    QthrFree(ta);
    QthrFree(tb);
    EXPECT_EQ(a.runs + b.runs, 2);
    EXPECT_GE(a.seen, 1000);
    EXPECT_NO_PENDING_ERROR();
}

TEST_F(Threads, Failures) {
    QOR_ID thread = 0;
    QthrAlloc(sys, nullptr, nullptr, &thread);
    EXPECT_PENDING_ERROR("QthrAlloc", Q_ERR_INVALID_PARAMETER, "Invalid thread function.");
    QthrAlloc(dig, countOnce, nullptr, &thread);
    EXPECT_PENDING_ERROR("QthrAlloc", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
    EXPECT_EQ(thread, 0);
    Work work;
    QthrAlloc(sys, countOnce, &work, &thread);
    QthrWait(thread, 7);
    EXPECT_PENDING_ERROR("QthrWait", Q_ERR_INVALID_PARAMETER, "Invalid wait type.");
    QthrFree(thread);
    QthrFree(dig);
    EXPECT_PENDING_ERROR("QthrFree", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
}

TEST_F(Threads, Sleep) {
    auto start = Clock::now();
    QappSleep(0.05);
    auto slept = Clock::now() - start;
    EXPECT_GE(slept, std::chrono::milliseconds(50));
    EXPECT_LT(slept, std::chrono::milliseconds(1000));
    QappSleep(0);
    EXPECT_NO_PENDING_ERROR();
    start = Clock::now();
    QappSleep(-1);
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(100));
    EXPECT_PENDING_ERROR("QappSleep", Q_ERR_OUT_OF_RANGE, "Value -1 is outside 0 to 86400.");
}

} // namespace
