// An EDF signal decoded a second time, byte by byte and without the library.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

class EdfModel {
public:
    explicit EdfModel(std::string bytes) : bytes_(std::move(bytes))
    {
        records_ = std::stoi(bytes_.substr(236, 8));
        seconds_ = std::stoi(bytes_.substr(244, 8));
        signals_ = std::stoul(bytes_.substr(252, 4));
        for (std::size_t i = 0; i < signals_; ++i) {
            samplesPerRecord_.push_back(std::stoul(Text(216, i, 8)));
        }
    }

    std::size_t Signals() const { return signals_; }
    int Rate(std::size_t signal) const
    {
        return static_cast<int>(samplesPerRecord_[signal]) / seconds_;
    }
    std::string Label(std::size_t signal) const { return Text(0, signal, 16); }

    // Walks the data records byte by byte; at the end of the file the bytes of the sample before
    // stay as they are.
    std::vector<float> Values(std::size_t signal) const
    {
        const float physicalMin = Number(104, signal);
        const float physicalMax = Number(112, signal);
        const float digitalMin = Number(120, signal);
        const float digitalMax = Number(128, signal);
        const float gain = (physicalMax - physicalMin) / (digitalMax - digitalMin);
        const float offset = physicalMax / gain - digitalMax;
        std::vector<float> values;
        std::size_t at = (signals_ + 1) * 256;
        unsigned char sample[2] = {0, 0};
        for (int record = 0; record < records_; ++record) {
            for (std::size_t other = 0; other < signals_; ++other) {
                for (std::size_t i = 0; i < samplesPerRecord_[other]; ++i, at += 2) {
                    if (other != signal) continue;
                    for (std::size_t half = 0; half < 2; ++half) {
                        if (at + half >= bytes_.size()) continue;
                        sample[half] = static_cast<unsigned char>(bytes_[at + half]);
                    }
                    int digital = 256 * sample[1] + sample[0];
                    if (digital >= 32768) digital -= 65536;
                    values.push_back((static_cast<float>(digital) + offset) * gain);
                }
            }
        }
        return values;
    }

private:
    // A field of the signal headers: `before` bytes of other fields for each signal come first.
    std::string Text(std::size_t before, std::size_t signal, std::size_t width) const
    {
        std::string text = bytes_.substr(256 + before * signals_ + signal * width, width);
        text.resize(text.find_last_not_of(' ') + 1);
        return text;
    }

    float Number(std::size_t before, std::size_t signal) const
    {
        return std::strtof(Text(before, signal, 8).c_str(), nullptr);
    }

    std::string bytes_;
    int records_ = 0;
    int seconds_ = 0;
    std::size_t signals_ = 0;
    std::vector<std::size_t> samplesPerRecord_;
};
