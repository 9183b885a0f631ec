// The samples of a record while it is read, in an array from malloc as the record keeps it.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>

struct MallocFreer {
    void operator()(void* memory) const { std::free(memory); }
};
// An array from malloc until its receiver has it.
template <class T>
using MallocArray = std::unique_ptr<T[], MallocFreer>;

class CSampleBuffer {
public:
    CSampleBuffer() = default;
    ~CSampleBuffer() { std::free(samples_); }
    CSampleBuffer(const CSampleBuffer&) = delete;
    CSampleBuffer& operator=(const CSampleBuffer&) = delete;

    // False when there is no memory; what is there stays.
    bool Reserve(std::size_t count)
    {
        if (count <= capacity_) return true;
        if (count > std::numeric_limits<std::size_t>::max() / sizeof *samples_) return false;
        void* moved = std::realloc(samples_, count * sizeof *samples_);
        if (moved == nullptr) return false;
        samples_ = static_cast<double*>(moved);
        capacity_ = count;
        return true;
    }

    bool Append(double mv)
    {
        if (size_ == capacity_ && !Reserve(2 * size_ + kFirstSamples)) return false;
        samples_[size_++] = mv;
        return true;
    }

    std::size_t Size() const { return size_; }

    // The array, no larger than its samples; null when there are none. Freed by the caller.
    double* Release()
    {
        if (size_ == 0) return nullptr;
        double* released = samples_;
        if (size_ < capacity_) {
            void* fitted = std::realloc(samples_, size_ * sizeof *samples_);
            if (fitted != nullptr) released = static_cast<double*>(fitted);
        }
        samples_ = nullptr;
        capacity_ = size_ = 0;
        return released;
    }

private:
    static constexpr std::size_t kFirstSamples = 8192;

    double* samples_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};
