// A channel of a WFDB signal file decoded a second time: byte by byte, unit after unit.
#pragma once

#include <cfloat>
#include <cstdint>
#include <string>
#include <vector>

struct WfdbModel {
    std::string bytes;
    int format = 212;
    int signals = 1;
    int adcOffset = 0;
    double gain = 200.0;

    struct Channel {
        std::vector<double> samples;
        double maximum = DBL_MIN;
        double minimum = DBL_MAX;
    };

    Channel Read(int channel, int start, int count) const
    {
        Channel result;
        result.samples.assign(static_cast<std::size_t>(count), 0.0);
        const std::int64_t before = static_cast<std::int64_t>(signals) * start;
        const std::int64_t all = static_cast<std::int64_t>(signals) * count;
        std::size_t at = static_cast<std::size_t>(format == 212 ? before / 2 * 3 : before * 2);
        int b[3] = {0, 0, 0};
        int signal = 0;
        std::size_t frame = 0;
        const auto store = [&](int code) {
            if (signal == channel) {
                code -= adcOffset;
                if (format == 212 && code > 2047) code -= 4096;
                if (format == 16 && code > 32767) code -= 65536;
                const double value = code / gain;
                result.samples[frame] = value;
                if (value > result.maximum) result.maximum = value;
                if (value < result.minimum) result.minimum = value;
            }
            if (++signal == signals) {
                signal = 0;
                ++frame;
            }
        };
        const auto load = [&](int bytesOfUnit) {
            for (int i = 0; i < bytesOfUnit; ++i, ++at) {
                if (at < bytes.size()) b[i] = static_cast<unsigned char>(bytes[at]);
            }
        };
        for (std::int64_t i = 0; format == 212 && i < all / 2; ++i) {
            load(3);
            store(b[0] + 256 * (b[1] % 16));
            store(b[2] + 256 * (b[1] / 16));
        }
        for (std::int64_t i = 0; format == 16 && i < all; ++i) {
            load(2);
            store(b[0] + 256 * b[1]);
        }
        return result;
    }
};
