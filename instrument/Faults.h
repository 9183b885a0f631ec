// The faults that wait for their request, and the replies that are scripted.
//
// Takes no lock; its owner does.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "instrument/SimulatedInstrument.h"

namespace instrument {

class Faults {
public:
    void Inject(const Fault& fault) { faults_.push_back({fault, 0, 0}); }
    void Clear() { faults_.clear(); }
    std::size_t Pending() const { return faults_.size(); }

    // The first fault that hits this request; counts it off.
    std::optional<Fault> Take(Request kind, std::span<const std::uint8_t> request);

private:
    struct Waiting {
        Fault fault;
        unsigned passed;
        unsigned hit;
    };
    std::vector<Waiting> faults_;
};

class ScriptedReplies {
public:
    void Set(const Bytes& prefix, const Bytes& reply);
    void Clear() { replies_.clear(); }
    // The latest one whose prefix fits; null when there is none.
    const Bytes* Find(std::span<const std::uint8_t> request) const;

private:
    std::vector<std::pair<Bytes, Bytes>> replies_;
};

bool BeginsWith(std::span<const std::uint8_t> bytes, const Bytes& prefix);

}  // namespace instrument
