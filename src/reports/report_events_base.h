#pragma once
// What the three report sources share: a serial queue for start and stop, a
// repeating timer on a thread of its own for the scans, a gate that keeps
// the host's callback from being called once stop has returned, and the scan
// that hands each new report to the source's parser.
// Thread contract: the timer and lifecycle state are touched on execQueue; the
// gate and the stopped flag from any thread; the scan settings only on the
// timer's thread, once the constructor has set them.

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "frame/callback_gate.h"
#include "frame/dispatch.h"
#include "frame/event_source.h"
#include "frame/file_utils.h"
#include "reports/report_scan.h"

namespace sondrel {

inline constexpr std::chrono::seconds kDefaultReportInterval{60};

template <typename Callback>
class ReportEventsBase : public IEventSource, public std::enable_shared_from_this<ReportEventsBase<Callback>> {
 public:
  ~ReportEventsBase() override = default;

  // Delivery starts, and the first scan happens one interval from now.
  void startListening(Callback callback) {
    execQueue.async([weak = this->weak_from_this(), callback] {
      auto self = weak.lock();
      if (!self) return;
      {
        std::lock_guard lock(self->lifecycleMutex_);
        if (self->stopped_) return;  // unregistered before the start got its turn
        self->gate_.open(callback);
      }
      self->timer_ = std::make_unique<RepeatingTimer>(self->interval_, [weak] {
        auto source = weak.lock();
        if (source && !source->stopped_) source->eventTimerCallback();
      });
    });
  }

  // The callback is shut off before this returns (a call from inside the
  // callback is not waited for); the timer is cancelled on execQueue.
  void stopListening() override {
    {
      std::lock_guard lock(lifecycleMutex_);
      stopped_ = true;
    }
    gate_.close();
    execQueue.async([weak = this->weak_from_this()] {
      if (auto self = weak.lock()) {
        if (self->timer_) self->timer_->cancel();
      }
    });
  }

  // One scan and its deliveries; the timer's handler, and the tests' tick.
  virtual void eventTimerCallback() = 0;

 protected:
  ReportEventsBase(std::string queueLabel, std::chrono::nanoseconds interval, std::string cachePath)
      : execQueue(std::move(queueLabel)), cachePath_(std::move(cachePath)), interval_(interval) {}

  // Called from the source's constructor, whose own constants name the
  // reports and the cache file; the base can't see them before then.
  void watchReports(std::vector<std::string> suffixes, ReportFolders folders, std::string_view cacheFileName,
                    CandidateRules rules, bool foldRetired = false) {
    scan_ = {std::move(suffixes), std::move(folders), cacheFilePath(cachePath_, cacheFileName), foldRetired, rules};
  }

  // One scan: each new report goes through parse; what it returns is kept, in order.
  template <typename Info, typename Parse>
  [[nodiscard]] std::vector<Info> collectNewInfos(Parse parse) {
    std::vector<Info> infos;
    for (const auto& path : scanForNewReports(scan_, secondsSince1970())) {
      if (auto info = parse(path)) infos.push_back(std::move(*info));
    }
    return infos;
  }

  // False when no callback is set: the record is then simply not delivered.
  template <typename Record>
  bool deliver(Record& record) {
    return gate_.invoke(&record);
  }

  SerialQueue execQueue;

 private:
  std::string cachePath_;
  std::chrono::nanoseconds interval_;
  ReportScanSettings scan_;
  CallbackGate<Callback> gate_;
  std::mutex lifecycleMutex_;
  std::atomic<bool> stopped_{false};
  std::unique_ptr<RepeatingTimer> timer_;
};

}  // namespace sondrel
