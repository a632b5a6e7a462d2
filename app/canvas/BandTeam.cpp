#include "app/canvas/BandTeam.h"

#include <algorithm>

namespace vantrel {

BandTeam::BandTeam(int threads) {
    if (threads <= 0) threads = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 4);
    for (int i = 1; i < threads; ++i) helpers_.emplace_back([this] { help(); });
}

BandTeam::~BandTeam() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    for (std::thread& helper : helpers_) helper.join();
}

void BandTeam::takeBands() {
    for (int band = next_.fetch_add(1); band < count_; band = next_.fetch_add(1)) (*work_)(band);
}

void BandTeam::run(int count, const std::function<void(int)>& work, const std::function<void()>& first) {
    if (helpers_.empty() || count <= 1) {
        if (first) first();
        for (int band = 0; band < count; ++band) work(band);
        return;
    }
    {
        std::lock_guard lock(mutex_);
        work_ = &work;
        count_ = count;
        next_.store(0);
        helping_ = static_cast<int>(helpers_.size());
        ++round_;
    }
    wake_.notify_all();
    if (first) first();
    takeBands();
    std::unique_lock lock(mutex_);
    finished_.wait(lock, [&] { return helping_ == 0; });
    work_ = nullptr;
}

void BandTeam::help() {
    std::uint64_t seen = 0;
    for (;;) {
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [&] { return stopping_ || round_ != seen; });
            if (stopping_) return;
            seen = round_;
        }
        takeBands();
        std::lock_guard lock(mutex_);
        if (--helping_ == 0) finished_.notify_one();
    }
}

}  // namespace vantrel
