// Polling of the nodes that declare a polling time, and the changed-node set
// through which node callbacks (from any thread) reach the rows on the GUI's
// thread.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <set>
#include <thread>

#include "GenApi/Interfaces.h"

namespace quillon::browser {

class FeatureTreeModel;

// Runs INodeMap::Poll over a set of node maps on a thread of its own, every
// `Period()` ms: the smallest polling time of their implemented nodes, but
// never less than kMinimumPeriodMs.
class GenICamPollingNodes {
public:
    static constexpr int64_t kMinimumPeriodMs = 500;

    GenICamPollingNodes() = default;
    virtual ~GenICamPollingNodes();
    GenICamPollingNodes(const GenICamPollingNodes&) = delete;
    GenICamPollingNodes& operator=(const GenICamPollingNodes&) = delete;

    void AddNodeMap(GenApi::INodeMap* nodeMap);
    // Stops a running thread, computes the period and starts the thread when
    // any node is polled; no polled node means no thread.
    void Start();
    // Signals the thread and waits for it to end (a poll pass in progress finishes first).
    void Stop();

    bool IsRunning() const { return thread_.joinable(); }
    int64_t Period() const { return period_; }

private:
    void Run();

    std::mutex lock_; // the node-map set during a poll pass and during Start
    std::mutex stopMutex_;
    std::condition_variable stopEvent_;
    bool stopSignalled_ = false; // guarded by stopMutex_
    std::thread thread_;
    std::set<GenApi::INodeMap*> nodeMaps_;
    int64_t period_ = 0;
};

// The smallest polling time (neither 0 nor -1) of the implemented nodes of
// `nodeMap`, or -1 when none is polled.
int64_t SmallestPollingTime(const GenApi::INodeMap& nodeMap);

// The browser's 100 ms change timer. The GUI implements it with a timer on
// its own thread (Start may be called from any thread, so the GUI forwards it
// to its thread); tests drive the ticks by hand.
class ChangeTimer {
public:
    static constexpr int kTimerId = 9090;
    static constexpr int kIntervalMs = 100;
    virtual ~ChangeTimer() = default;
    virtual void Start(int intervalMs) = 0;
    virtual void Kill() = 0;
};

// The set of nodes whose rows need rewriting. Node callbacks record into it
// from any thread; the timer's tick, on the GUI's thread, takes it.
class ChangedNodeSet {
public:
    explicit ChangedNodeSet(ChangeTimer& timer) : timer_(timer) {}

    // The node-changed handler: ignored while busy; starts the timer when
    // none runs; records the node once.
    void OnNodeChanged(GenApi::INode* node);
    // The timer's tick: kills the timer when nothing changed, otherwise
    // rewrites the rows of every changed node. Switches the imaging library's
    // error printing off meanwhile.
    void Tick(FeatureTreeModel& model);

    void SetBusy(bool busy);
    bool TimerRunning() const;
    std::set<GenApi::INode*> Snapshot() const;
    // Kills a running timer (the browser's destruction).
    void KillTimer();

private:
    ChangeTimer& timer_;
    mutable std::recursive_mutex lock_;
    std::set<GenApi::INode*> changed_;
    bool timerRunning_ = false;
    bool busy_ = false;
};

// The imaging library's polling-enabled setting of an object (Q_GC_POLLING)
// of kind Q_SYSTEM_OBJECT or Q_DIGITIZER_OBJECT; other kinds have none.
bool LibraryPollingEnabled(int64_t objectKind, int64_t object);
void SetLibraryPolling(int64_t objectKind, int64_t object, bool enabled);

} // namespace quillon::browser
