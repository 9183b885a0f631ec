// The first samples that an instrument plays, however many follow before a run is stopped.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

#include "instrument/SimulatedInstrument.h"

// Outlives the instrument whose options collect into it.
class CFirstSamples {
public:
    explicit CFirstSamples(std::size_t most) : most_(most) {}
    CFirstSamples(const CFirstSamples&) = delete;
    CFirstSamples& operator=(const CFirstSamples&) = delete;

    instrument::Options Collecting(instrument::Options options)
    {
        options.onSamples = [this](std::span<const instrument::Sample> samples) {
            const std::lock_guard lock(mutex_);
            const std::size_t count = std::min(samples.size(), most_ - samples_.size());
            samples_.insert(samples_.end(), samples.begin(),
                            samples.begin() + static_cast<std::ptrdiff_t>(count));
            if (samples_.size() == most_) full_.notify_all();
        };
        return options;
    }

    // Until there are as many as are collected.
    bool WaitForAll(instrument::Milliseconds timeout)
    {
        std::unique_lock lock(mutex_);
        return full_.wait_for(lock, timeout, [this] { return samples_.size() == most_; });
    }

    std::vector<instrument::Sample> Take()
    {
        const std::lock_guard lock(mutex_);
        return std::exchange(samples_, {});
    }

private:
    const std::size_t most_;
    std::mutex mutex_;
    std::condition_variable full_;
    std::vector<instrument::Sample> samples_;
};
