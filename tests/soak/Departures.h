// What was not as it should be, from any thread.
#pragma once

#include <fmt/format.h>

#include <mutex>
#include <string>
#include <vector>

namespace soak {

class CDepartures {
public:
    template <class... Arguments>
    void Add(fmt::format_string<Arguments...> text, Arguments&&... arguments)
    {
        constexpr std::size_t kKept = 20;
        const std::lock_guard lock(mutex_);
        if (++count_ <= kKept) {
            texts_.push_back(fmt::format(text, std::forward<Arguments>(arguments)...));
        }
    }
    std::size_t Count() const
    {
        const std::lock_guard lock(mutex_);
        return count_;
    }
    std::vector<std::string> Texts() const  // the first ones
    {
        const std::lock_guard lock(mutex_);
        return texts_;
    }

private:
    mutable std::mutex mutex_;
    std::size_t count_ = 0;
    std::vector<std::string> texts_;
};

}  // namespace soak
