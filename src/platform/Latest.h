// The latest value of a record that one side derives now and then and the other reads all the time.
//
// Three copies: the writer fills its own and swaps it in, the reader swaps the newest out. Neither
// waits, and the reader never sees a record half old and half new. Writers must be serialised among
// themselves, and so must readers.
#pragma once

#include <atomic>
#include <cstdint>

template <class T>
class CLatest {
public:
    // Writer.
    void Publish(const T& value)
    {
        copies_[back_] = value;
        back_ =
            middle_.exchange(static_cast<std::uint8_t>(back_ | kNew), std::memory_order_acq_rel) &
            kIndex;
    }

    // Reader: the newest record. The reference stays valid, and the reader's to change, until the
    // next call.
    T& Read()
    {
        if ((middle_.load(std::memory_order_relaxed) & kNew) != 0) {
            front_ = middle_.exchange(front_, std::memory_order_acq_rel) & kIndex;
        }
        return copies_[front_];
    }

private:
    static constexpr std::uint8_t kNew = 4;
    static constexpr std::uint8_t kIndex = 3;

    T copies_[3] = {};
    std::atomic<std::uint8_t> middle_{1};
    std::uint8_t front_ = 0;
    std::uint8_t back_ = 2;
};
