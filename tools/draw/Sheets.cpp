#include "tools/draw/Sheets.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

#include <fmt/format.h>

#include <vrax.h>

namespace {

constexpr double kLongStrip = 10.0;         // s
constexpr double kTachycardiaStrip = 27.0;  // s; the last triangles, then the tachycardia
constexpr const char* kScale = "25 mm/s, 10 mm/mV";

// `seconds` from `start` on, as the waveform plays in a loop.
Strip Cut(const Waveform& wave, double start, double seconds)
{
    Strip strip;
    strip.name = fmt::format("{}   {}", wave.number, wave.name);
    strip.start = start;
    strip.rate = wave.rate;
    const auto first = static_cast<std::size_t>(std::llround(start * wave.rate));
    const auto count = static_cast<std::size_t>(std::llround(seconds * wave.rate));
    for (std::size_t i = first; i < first + count; ++i) {
        const std::size_t at = i % wave.mv.size();
        if (at == 0 && i > first) strip.seams.push_back(static_cast<double>(i) / wave.rate);
        strip.mv.push_back(wave.mv[at]);
    }
    return strip;
}

Strip Iec227Strip(std::size_t index, double start)
{
    const Waveform wave = LoadWaveform(Family::kIec227, index);
    Strip strip = Cut(wave, start, kLongStrip);
    strip.caption =
        fmt::format("{:g} to {:g} s of {:.2f} s", start, start + kLongStrip, wave.seconds);
    return strip;
}

Sheet Iec227Sheet(char letter, const std::string& title, const std::string& piece, double start,
                  std::initializer_list<std::size_t> indices)
{
    Sheet sheet{.file = fmt::format("iec227-{}.png", letter),
                .title = "IEC 60601-2-27: " + title,
                .remark = fmt::format("{}; {}", kScale, piece),
                .hasSeconds = true,
                .rows = {}};
    for (const std::size_t index : indices) sheet.rows.push_back({Iec227Strip(index, start)});
    return sheet;
}

std::vector<Sheet> Iec227Sheets()
{
    const std::string onset = "where the tachycardia begins";
    return {Iec227Sheet('a', "irregular rhythms", "the beginning of each waveform", 0.0,
                        {0, 1, 2, 3}),
            Iec227Sheet('b', "ventricular tachycardia 4A", onset, kTachycardiaStrip, {4, 5, 6}),
            Iec227Sheet('c', "ventricular tachycardia 4B", onset, kTachycardiaStrip, {7, 8, 9})};
}

std::vector<Strip> WholeWaveforms(Family family, std::initializer_list<std::size_t> indices)
{
    std::vector<Strip> strips;
    for (const std::size_t index : indices) {
        const Waveform wave = LoadWaveform(family, index);
        strips.push_back(Cut(wave, 0.0, wave.seconds));
        const auto [low, high] = std::minmax_element(wave.mv.begin(), wave.mv.end());
        strips.back().caption = fmt::format("{:.2f} to {:.2f} mV", *low, *high);
    }
    return strips;
}

Sheet Iec251Sheet()
{
    const auto row = [](std::initializer_list<std::size_t> indices) {
        return WholeWaveforms(Family::kIec251, indices);
    };
    return {.file = "iec251.png",
            .title = "CAL waveforms of IEC 60601-2-51 and 60601-2-25",
            .remark = fmt::format("{}; each 1 s long", kScale),
            .hasSeconds = false,
            .rows = {row({0, 1, 2, 3, 6}), row({4, 15, 5, 13, 14}), row({7, 8, 9, 10, 11, 12})}};
}

Sheet Ane20000Sheet()
{
    const auto row = [](std::initializer_list<std::size_t> indices) {
        return WholeWaveforms(Family::kAne20000, indices);
    };
    return {.file = "ane20000.png",
            .title = "ANE20000: nine leads",
            .remark = fmt::format("{}; each 1 s long", kScale),
            .hasSeconds = false,
            .rows = {row({0, 3, 6}), row({1, 4, 7}), row({2, 5, 8})}};
}

std::string PatternCaption(int number, double seconds)
{
    if (GetRRDev(number) == 0.0) {
        return fmt::format("every {:g} s, repeats after {:.7g} s", GetRRAvg(number), seconds);
    }
    return fmt::format("every {:g} s \u00b1 {:g} s, varying at {:g} Hz; repeats after {:.7g} s",
                       GetRRAvg(number), GetRRDev(number), GetHRVFreq(number), seconds);
}

Sheet Iec247Sheet()
{
    Sheet sheet{.file = "iec247.png",
                .title = "IEC 60601-2-47: heart-rate patterns",
                .remark = fmt::format("{}; the beginning of each pattern, a dashed line where it "
                                      "starts anew; below it all its intervals",
                                      kScale),
                .hasSeconds = true,
                .rows = {}};
    for (std::size_t i = 0; i < FactsOf(Family::kIec247).names.size(); ++i) {
        const Waveform pattern = LoadWaveform(Family::kIec247, i);
        Strip strip = Cut(pattern, 0.0, kLongStrip);
        strip.caption = PatternCaption(pattern.number, pattern.seconds);
        strip.tachogram = MeasureTachogram(pattern);
        sheet.rows.push_back({strip});
    }
    return sheet;
}

Sheet NoiseSheet()
{
    Sheet sheet{.file = "noise.png",
                .title = "Noise-stress records",
                .remark = fmt::format("{}; the first {:g} s at gain 1", kScale, kLongStrip),
                .hasSeconds = true,
                .rows = {}};
    for (std::size_t i = 0; i < FactsOf(Family::kNoise).names.size(); ++i) {
        const Waveform noise = LoadWaveform(Family::kNoise, i);
        Strip strip = Cut(noise, 0.0, kLongStrip);
        strip.caption = fmt::format("repeats after {:.0f} s", noise.seconds);
        sheet.rows.push_back({strip});
    }
    return sheet;
}

}  // namespace

std::vector<Sheet> SheetsOf(Family family)
{
    switch (family) {
        case Family::kIec227: return Iec227Sheets();
        case Family::kIec251: return {Iec251Sheet()};
        case Family::kAne20000: return {Ane20000Sheet()};
        case Family::kIec247: return {Iec247Sheet()};
        case Family::kNoise: return {NoiseSheet()};
    }
    return {};
}
