#include "browser/feature_polling.h"

#include <algorithm>
#include <chrono>

#include "browser/tree_model.h"
#include "qorvis.h"

namespace quillon::browser {

int64_t SmallestPollingTime(const GenApi::INodeMap& nodeMap) {
    GenApi::NodeList_t nodes;
    nodeMap.GetNodes(nodes);
    int64_t smallest = -1;
    for (GenApi::INode* node : nodes) {
        if (node->GetAccessMode() == GenApi::NI) continue;
        const int64_t time = node->GetPollingTime();
        if (time == 0 || time == -1) continue;
        if (smallest == -1 || time < smallest) smallest = time;
    }
    return smallest;
}

GenICamPollingNodes::~GenICamPollingNodes() {
    Stop();
    nodeMaps_.clear();
}

void GenICamPollingNodes::AddNodeMap(GenApi::INodeMap* nodeMap) {
    std::lock_guard guard(lock_);
    nodeMaps_.insert(nodeMap);
}

void GenICamPollingNodes::Start() {
    Stop();
    period_ = 0;
    {
        std::lock_guard stopGuard(stopMutex_);
        stopSignalled_ = false;
    }
    int64_t smallest = -1;
    {
        std::lock_guard guard(lock_);
        for (GenApi::INodeMap* nodeMap : nodeMaps_) {
            const int64_t time = SmallestPollingTime(*nodeMap);
            if (time != -1 && (smallest == -1 || time < smallest)) smallest = time;
        }
    }
    if (smallest == -1) return; // nothing is polled: no thread
    // Devices asking for faster polling still get at most two passes a second.
    period_ = std::max(smallest, kMinimumPeriodMs);
    thread_ = std::thread(&GenICamPollingNodes::Run, this);
}

void GenICamPollingNodes::Stop() {
    if (!thread_.joinable()) return;
    {
        std::lock_guard stopGuard(stopMutex_);
        stopSignalled_ = true;
    }
    stopEvent_.notify_all();
    thread_.join();
}

void GenICamPollingNodes::Run() {
    const auto period = std::chrono::milliseconds(period_);
    for (;;) {
        {
            std::unique_lock stopLock(stopMutex_);
            if (stopEvent_.wait_for(stopLock, period, [this] { return stopSignalled_; })) return;
        }
        std::lock_guard guard(lock_);
        for (GenApi::INodeMap* nodeMap : nodeMaps_) nodeMap->Poll(period_);
    }
}

void ChangedNodeSet::OnNodeChanged(GenApi::INode* node) {
    std::lock_guard guard(lock_);
    if (busy_) return;
    if (!timerRunning_) {
        timerRunning_ = true;
        timer_.Start(ChangeTimer::kIntervalMs);
    }
    changed_.insert(node);
}

void ChangedNodeSet::Tick(FeatureTreeModel& model) {
    // Reads of changed rows may fail; the row shows "Error", not a printed message.
    QOR_INT printing = Q_PRINT_ENABLE;
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, &printing);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
    std::set<GenApi::INode*> changed;
    {
        std::lock_guard guard(lock_);
        if (changed_.empty() && timerRunning_) {
            timer_.Kill();
            timerRunning_ = false;
        }
        changed.swap(changed_);
    }
    // Rows are read outside the lock: a poll pass holds the node map's lock
    // while its callbacks wait for ours.
    for (GenApi::INode* node : changed) model.RewriteRowsOf(node);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, printing);
}

void ChangedNodeSet::SetBusy(bool busy) {
    std::lock_guard guard(lock_);
    busy_ = busy;
}

bool ChangedNodeSet::TimerRunning() const {
    std::lock_guard guard(lock_);
    return timerRunning_;
}

std::set<GenApi::INode*> ChangedNodeSet::Snapshot() const {
    std::lock_guard guard(lock_);
    return changed_;
}

void ChangedNodeSet::KillTimer() {
    std::lock_guard guard(lock_);
    if (timerRunning_) timer_.Kill();
    timerRunning_ = false;
}

bool LibraryPollingEnabled(int64_t objectKind, int64_t object) {
    QOR_INT value = Q_FALSE;
    if (objectKind == Q_DIGITIZER_OBJECT) QdigInquire(object, Q_GC_POLLING, &value);
    else if (objectKind == Q_SYSTEM_OBJECT) QsysInquire(object, Q_GC_POLLING, &value);
    return value == Q_TRUE;
}

void SetLibraryPolling(int64_t objectKind, int64_t object, bool enabled) {
    const QOR_INT64 value = enabled ? Q_TRUE : Q_FALSE;
    if (objectKind == Q_DIGITIZER_OBJECT) QdigControlInt64(object, Q_GC_POLLING, value);
    else if (objectKind == Q_SYSTEM_OBJECT) QsysControlInt64(object, Q_GC_POLLING, value);
}

} // namespace quillon::browser
