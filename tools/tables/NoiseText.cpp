#include <charconv>
#include <cmath>

#include "tools/tables/Noise.h"
#include "tools/tables/TextFile.h"

namespace {
constexpr int kDigits = 5;
constexpr std::size_t kColumnWidth = 9;

constexpr const char* kHead =
    "# Likenesses of noise records: same length, distribution of amplitudes and third-octave "
    "levels.\n"
    "# Written by `vrax-tables fit-noise`. One column a record, all values in uV.\n"
    "#\n"
    "# rms       of the record\n"
    "# quantile  percent of the samples and the value that they do not exceed; 0 and 100 give the\n"
    "#           lowest and the highest sample\n"
    "# band      centre of a third octave in Hz, 0 for all that is lower; then for each record "
    "its\n"
    "#           rms level and that of the Gaussian noise from which the likeness is bent\n\n";

std::string Text(double value)
{
    char digits[32];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, kDigits);
    return {digits, end.ptr};
}

std::string Cell(const std::string& text)
{
    return std::string(text.size() < kColumnWidth ? kColumnWidth - text.size() : 1, ' ') + text;
}

double Centre(int band) { return band == kRestBand ? 0.0 : std::pow(10.0, band / 10.0); }

int BandNumber(const TextLine& line, double centre)
{
    if (centre == 0.0) return kRestBand;
    const double number = std::round(10.0 * std::log10(centre));
    if (!(number >= kLowestBand && number <= kHighestBand)) line.Fail("no band of the table");
    return static_cast<int>(number);
}

void Check(const NoiseDescription& noise, const std::filesystem::path& file)
{
    const auto fail = [&](const std::string& reason) {
        throw TableError(file.string() + ": " + noise.name + ": " + reason);
    };
    if (noise.bands.size() != kHighestBand - kRestBand + 1) fail("a band is missing");
    for (std::size_t i = 0; i < noise.bands.size(); ++i) {
        if (noise.bands[i].number != kRestBand + static_cast<int>(i)) fail("bands out of order");
        if (!(noise.bands[i].drive >= 0.0)) fail("a level is negative");
    }
    const std::vector<CurvePoint>& points = noise.quantiles;
    if (points.size() < 2 || points.front().x != 0.0 || points.back().x != 100.0) {
        fail("the quantiles do not run from 0 to 100");
    }
    for (std::size_t i = 1; i < points.size(); ++i) {
        if (!(points[i].x > points[i - 1].x && points[i].y >= points[i - 1].y)) {
            fail("the quantiles do not rise");
        }
    }
}
}  // namespace

std::vector<NoiseDescription> ReadNoiseDescriptions(const std::filesystem::path& file)
{
    std::vector<NoiseDescription> records;
    for (const TextLine& line : ReadTextFile(file)) {
        const std::string& key = line.Word(0);
        if (key == "record" && records.empty()) {
            for (std::size_t i = 1; i < line.Count(); ++i)
                records.push_back({line.Word(i), 0, 0.0, {}, {}});
            continue;
        }
        const bool hasPairs = key == "band";
        const bool hasArgument = hasPairs || key == "quantile";
        line.Require(1 + (hasArgument ? 1U : 0U) + records.size() * (hasPairs ? 2 : 1));
        for (std::size_t i = 0; i < records.size(); ++i) {
            NoiseDescription& noise = records[i];
            if (key == "seed") {
                noise.seed = static_cast<std::uint64_t>(line.Integer(1 + i));
            } else if (key == "rms") {
                noise.rms = line.Number(1 + i);
            } else if (key == "quantile") {
                noise.quantiles.push_back({line.Number(1), line.Number(2 + i)});
            } else if (key == "band") {
                noise.bands.push_back({BandNumber(line, line.Number(1)), line.Number(2 + 2 * i),
                                       line.Number(3 + 2 * i)});
            } else {
                line.Fail("'" + key + "' is not expected here");
            }
        }
    }
    for (const NoiseDescription& noise : records) Check(noise, file);
    return records;
}

std::string NoiseDescriptionText(const std::vector<NoiseDescription>& records)
{
    std::string text = kHead;
    const auto add = [&](const std::string& start, auto&& cells) {
        text += start;
        for (const NoiseDescription& noise : records) text += cells(noise);
        text += '\n';
    };
    add("record           ", [](const NoiseDescription& n) { return Cell(n.name); });
    add("seed             ",
        [](const NoiseDescription& n) { return Cell(std::to_string(n.seed)); });
    add("rms              ", [](const NoiseDescription& n) { return Cell(Text(n.rms)); });
    text += '\n';
    for (std::size_t i = 0; i < records.at(0).quantiles.size(); ++i) {
        add("quantile" + Cell(Text(records[0].quantiles[i].x)),
            [i](const NoiseDescription& n) { return Cell(Text(n.quantiles[i].y)); });
    }
    text += '\n';
    for (std::size_t i = 0; i < records[0].bands.size(); ++i) {
        add("band    " + Cell(Text(Centre(records[0].bands[i].number))),
            [i](const NoiseDescription& n) {
                return Cell(Text(n.bands[i].level)) + Cell(Text(n.bands[i].drive));
            });
    }
    return text;
}
