#include "instrument/Faults.h"

#include <algorithm>

#include "instrument/Framing.h"

namespace instrument {

bool BeginsWith(std::span<const std::uint8_t> bytes, const Bytes& prefix)
{
    return bytes.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), bytes.begin());
}

namespace {

bool Fits(const Fault& fault, Request kind, std::span<const std::uint8_t> request)
{
    return Matches(fault.match, kind) && BeginsWith(request, fault.prefix);
}

}  // namespace

std::optional<Fault> Faults::Take(Request kind, std::span<const std::uint8_t> request)
{
    for (auto waiting = faults_.begin(); waiting != faults_.end(); ++waiting) {
        if (!Fits(waiting->fault, kind, request)) continue;
        if (waiting->passed < waiting->fault.skip) {
            ++waiting->passed;
            continue;
        }
        const Fault fault = waiting->fault;
        if (fault.count != 0 && ++waiting->hit >= fault.count) faults_.erase(waiting);
        return fault;
    }
    return std::nullopt;
}

void ScriptedReplies::Set(const Bytes& prefix, const Bytes& reply)
{
    const auto same = std::find_if(replies_.begin(), replies_.end(),
                                   [&](const auto& scripted) { return scripted.first == prefix; });
    if (same != replies_.end()) replies_.erase(same);
    replies_.emplace_back(prefix, reply);
}

const Bytes* ScriptedReplies::Find(std::span<const std::uint8_t> request) const
{
    const auto found = std::find_if(replies_.rbegin(), replies_.rend(), [&](const auto& scripted) {
        return BeginsWith(request, scripted.first);
    });
    return found == replies_.rend() ? nullptr : &found->second;
}

}  // namespace instrument
