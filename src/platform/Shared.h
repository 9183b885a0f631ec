// A value that one thread writes and another reads without a lock.
//
// A relaxed atomic that reads like the plain value, so formulas stay readable; on x86-64 a load or
// a store costs what a plain one does. It orders nothing: what must be seen together goes through
// an event, a lock or CLatest.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

template <class T>
class Shared {
public:
    constexpr Shared() noexcept : value_(T{}) {}
    constexpr Shared(T value) noexcept : value_(value) {}
    Shared(const Shared&) = delete;

    operator T() const noexcept { return value_.load(std::memory_order_relaxed); }
    T operator=(T value) noexcept
    {
        value_.store(value, std::memory_order_relaxed);
        return value;
    }
    T operator=(const Shared& other) noexcept { return *this = static_cast<T>(other); }

    // Not atomic as a whole: for values with one writer.
    T operator+=(T step) noexcept { return *this = static_cast<T>(*this + step); }
    T operator-=(T step) noexcept { return *this = static_cast<T>(*this - step); }

    T Exchange(T value) noexcept { return value_.exchange(value, std::memory_order_acq_rel); }

private:
    std::atomic<T> value_;
};

// A small record that one thread stores and others load without a lock, word by word: no data race,
// but two words may come from two stores.
template <class T>
class SharedRecord {
    static_assert(sizeof(T) % sizeof(std::uint32_t) == 0 && std::is_trivially_copyable_v<T>);

public:
    SharedRecord() = default;
    explicit SharedRecord(const T& record) { Store(record); }

    T Load() const
    {
        std::uint32_t words[kWords];
        for (std::size_t i = 0; i < kWords; ++i)
            words[i] = words_[i].load(std::memory_order_relaxed);
        T record;
        std::memcpy(&record, words, sizeof record);
        return record;
    }

    void Store(const T& record)
    {
        std::uint32_t words[kWords];
        std::memcpy(words, &record, sizeof record);
        for (std::size_t i = 0; i < kWords; ++i)
            words_[i].store(words[i], std::memory_order_relaxed);
    }

    void Clear() { Store(T{}); }

private:
    static constexpr std::size_t kWords = sizeof(T) / sizeof(std::uint32_t);
    std::atomic<std::uint32_t> words_[kWords] = {};
};
