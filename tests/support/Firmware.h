// Images of the instrument's programs, and a burn as an application runs one: what its callback was
// told, and what it answers.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <functional>
#include <mutex>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "support/Frames.h"
#include "support/TempDir.h"
#include "vrax.h"

constexpr std::size_t kTagOffset = 118772;
constexpr std::size_t kVersionOffset = 118776;
constexpr std::uint32_t kFpgaBytes = 122880;
constexpr std::uint32_t kRecordsBegin =
    102400;  // of the ECG board, in the middle of the FPGA image
constexpr std::uint32_t kRecordsEnd = 116736;

// Neither its last write frame nor its last verify frame is full.
constexpr std::uint32_t kMcuBytes = 118785;

// Random bytes, the same for the same seed, with a tag and the version 1.2.3.(seed).
inline Bytes MakeImage(std::size_t size, const Bytes& tag, std::uint8_t seed)
{
    std::mt19937 random(seed);
    Bytes image(size);
    for (std::uint8_t& byte : image) byte = static_cast<std::uint8_t>(random());
    const Bytes version = {1, 2, 3, seed};
    std::copy(tag.begin(), tag.end(), image.begin() + kTagOffset);
    std::copy(version.begin(), version.end(), image.begin() + kVersionOffset);
    return image;
}
inline Bytes FpgaImage(std::uint8_t seed = 4, std::size_t size = kFpgaBytes)
{
    return MakeImage(size, {'V', 'R', 'A', 'X'}, seed);
}
inline Bytes McuImage(std::uint8_t seed = 4, std::size_t size = kMcuBytes)
{
    return MakeImage(size, {'2', 'T', 'F', '2'}, seed);
}

inline std::string WriteImageFile(const TempDir& folder, const std::string& name,
                                  const Bytes& image)
{
    const std::string path = folder.File(name);
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(image.data()),
               static_cast<std::streamsize>(image.size()));
    EXPECT_TRUE(file.flush());
    return path;
}

// What a loader returned and stored.
struct Loaded {
    int result = 0;
    std::vector<int> version = {-1, -1, -1, -1};
    bool operator==(const Loaded&) const = default;
};
inline void PrintTo(const Loaded& loaded, std::ostream* out)
{
    *out << loaded.result << " version";
    for (const int part : loaded.version) *out << " " << part;
}

using LoadFunction = int (*)(const char*, int*, int*, int*, int*);
inline Loaded LoadWith(LoadFunction load, const std::string& path)
{
    Loaded loaded;
    std::vector<int>& v = loaded.version;
    loaded.result = load(path.c_str(), &v[0], &v[1], &v[2], &v[3]);
    return loaded;
}

// Loads an image that must be taken.
inline void LoadFpga(const Bytes& image)
{
    const TempDir folder;
    ASSERT_EQ(LoadWith(LoadFirmwareFile, WriteImageFile(folder, "fpga.bin", image)).result,
              static_cast<int>(kFpgaBytes));
}
inline void LoadMcu(const Bytes& image)
{
    const TempDir folder;
    ASSERT_EQ(LoadWith(LoadMcuFile, WriteImageFile(folder, "mcu.bin", image)).result,
              static_cast<int>(image.size()));
}

struct Told {
    int stage;
    int value;
    bool operator==(const Told&) const = default;
};
inline void PrintTo(const Told& told, std::ostream* out)
{
    *out << "(" << told.stage << ", " << told.value << ")";
}
using ToldList = std::vector<Told>;

// The callback of a burn, which has no argument of its own.
class Progress {
public:
    // Called at every call from then on, with its number from 0, and gives its answer.
    using Answer = std::function<int(const Told& told, std::size_t number)>;
    static void AnswerBy(const Answer& answer)
    {
        const std::lock_guard lock(State().mutex);
        State().answer = answer;
    }
    // 1 to the call with this number, 0 to all others.
    static void CancelAt(std::size_t call)
    {
        AnswerBy([call](const Told&, std::size_t number) { return number == call ? 1 : 0; });
    }
    // Runs `action` in the call with this number.
    static void DoAt(std::size_t call, const std::function<void()>& action)
    {
        AnswerBy([=](const Told&, std::size_t number) {
            if (number == call) action();
            return 0;
        });
    }

    static int On(int stage, int value)
    {
        Answer answer;
        std::size_t number = 0;
        {
            const std::lock_guard lock(State().mutex);
            number = State().calls.size();
            State().calls.push_back({stage, value});
            answer = State().answer;
        }
        return answer ? answer({stage, value}, number) : 0;
    }
    static ToldList Calls()
    {
        const std::lock_guard lock(State().mutex);
        return State().calls;
    }
    static void Clear()
    {
        const std::lock_guard lock(State().mutex);
        State().calls.clear();
    }

private:
    struct Record {
        std::mutex mutex;
        ToldList calls;
        Answer answer;
    };
    static Record& State()
    {
        static Record& record = *new Record;  // burns may go on until the process has ended
        return record;
    }
};

struct ImageFrame {
    std::uint32_t address;
    std::uint32_t count;
};

// The frames of one pass over the addresses `from` to before `to`.
inline std::vector<ImageFrame> FramesOf(std::uint32_t from, std::uint32_t to, std::uint32_t step)
{
    std::vector<ImageFrame> frames;
    for (std::uint32_t address = from; address < to; address += step) {
        frames.push_back({address, std::min(step, to - address)});
    }
    return frames;
}
inline std::vector<ImageFrame> FpgaFrames(std::uint32_t step)
{
    std::vector<ImageFrame> frames = FramesOf(0, kRecordsBegin, step);
    const std::vector<ImageFrame> upper = FramesOf(kRecordsEnd, kFpgaBytes, step);
    frames.insert(frames.end(), upper.begin(), upper.end());
    return frames;
}
constexpr std::uint32_t kSector = 1024;
constexpr std::uint32_t kFpgaFrame = 48;
constexpr std::uint32_t kMcuWriteFrame = 32;
constexpr std::uint32_t kMcuReadFrame = 52;

inline Bytes Part(const Bytes& image, const ImageFrame& frame)
{
    const auto from = image.begin() + frame.address;
    return {from, from + frame.count};
}

// What the callback is told by one pass.
inline void AppendPass(ToldList& calls, int stage, const std::vector<ImageFrame>& frames,
                       std::uint32_t size)
{
    for (const ImageFrame& frame : frames) {
        calls.push_back({stage, static_cast<int>(std::uint64_t{frame.address} * 100 / size)});
    }
    calls.push_back({stage, 100});
}

// Of the three passes and the restart; the end follows.
inline ToldList FpgaCalls()
{
    ToldList calls;
    AppendPass(calls, BURN_ERASE, FpgaFrames(kSector), kFpgaBytes);
    AppendPass(calls, BURN_WRITE, FpgaFrames(kFpgaFrame), kFpgaBytes);
    AppendPass(calls, BURN_VERIFY, FpgaFrames(kFpgaFrame), kFpgaBytes);
    calls.insert(calls.end(), {{BURN_RESTART, 99}, {BURN_RECONNECT, 100}});
    return calls;
}
inline ToldList McuCalls(std::uint32_t size = kMcuBytes)
{
    ToldList calls;
    AppendPass(calls, BURN_ERASE, FramesOf(0, size, kSector), size);
    AppendPass(calls, BURN_WRITE, FramesOf(0, size, kMcuWriteFrame), size);
    AppendPass(calls, BURN_VERIFY, FramesOf(0, size, kMcuReadFrame), size);
    calls.insert(calls.end(), {{BURN_RESTART, 99}, {BURN_RECONNECT, 100}});
    return calls;
}

// The number of the call that stands before frame `index` of a stage.
constexpr std::size_t kFpgaErases = 106;
constexpr std::size_t kFpgaWrites = 2262;  // and as many reads
constexpr std::size_t FpgaCall(int stage, std::size_t index)
{
    if (stage == BURN_ERASE) return index;
    if (stage == BURN_WRITE) return kFpgaErases + 1 + index;
    return kFpgaErases + 1 + kFpgaWrites + 1 + index;
}
constexpr std::size_t kMcuErases = (kMcuBytes + kSector - 1) / kSector;
constexpr std::size_t kMcuWrites = (kMcuBytes + kMcuWriteFrame - 1) / kMcuWriteFrame;
constexpr std::size_t kMcuReads = (kMcuBytes + kMcuReadFrame - 1) / kMcuReadFrame;
constexpr std::size_t McuCall(int stage, std::size_t index)
{
    if (stage == BURN_ERASE) return index;
    if (stage == BURN_WRITE) return kMcuErases + 1 + index;
    return kMcuErases + 1 + kMcuWrites + 1 + index;
}

// The first calls up to the one with this number, and what follows.
inline ToldList Until(const ToldList& all, std::size_t last, const ToldList& then = {})
{
    ToldList calls(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(last) + 1);
    calls.insert(calls.end(), then.begin(), then.end());
    return calls;
}
