// The times in which a command may fail: the plug is out, the connection not yet ready, or the
// output switched off and on.
#pragma once

#include <atomic>

namespace soak {

class CDisturbances {
public:
    class CScope {
    public:
        explicit CScope(CDisturbances& all) : all_(all) { ++all_.begun_; }
        ~CScope() { ++all_.ended_; }
        CScope(const CScope&) = delete;
        CScope& operator=(const CScope&) = delete;

    private:
        CDisturbances& all_;
    };

    // Made before a call, asked after it.
    class CCalm {
    public:
        explicit CCalm(const CDisturbances& all) : all_(all), ended_(all.ended_), begun_(all.begun_)
        {}
        bool Lasted() const { return ended_ == begun_ && all_.begun_ == begun_; }

    private:
        const CDisturbances& all_;
        const unsigned ended_;  // read first: never more than have begun
        const unsigned begun_;
    };

private:
    std::atomic<unsigned> begun_{0};
    std::atomic<unsigned> ended_{0};
};

}  // namespace soak
