// A few threads that share out the bands of a frame: the caller and helpers that sleep
// between frames. Each band is handed to exactly one thread; which one depends on
// timing, so a band's work must depend on nothing but the band.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace vantrel {

class BandTeam {
public:
    // `threads` counts the caller; 1 runs everything on the caller, 0 takes one per
    // processor (at most 4).
    explicit BandTeam(int threads = 0);
    ~BandTeam();
    BandTeam(const BandTeam&) = delete;
    BandTeam& operator=(const BandTeam&) = delete;

    int threads() const { return static_cast<int>(helpers_.size()) + 1; }

    // Calls work(band) once for every band in [0, count) and returns when all are done.
    // The caller first runs `first` (if any), work of its own that the bands do not
    // touch, while the helpers start on the bands.
    void run(int count, const std::function<void(int)>& work, const std::function<void()>& first = {});

private:
    void help();
    void takeBands();

    std::vector<std::thread> helpers_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable finished_;
    const std::function<void(int)>* work_ = nullptr;
    int count_ = 0;
    std::atomic<int> next_{0};
    int helping_ = 0;  // helpers still at the current run
    std::uint64_t round_ = 0;
    bool stopping_ = false;
};

}  // namespace vantrel
