#include "tools/tables/AneWaveforms.h"

#include <cmath>
#include <cstddef>
#include <map>
#include <optional>

#include "tools/tables/MonotoneCurve.h"
#include "tools/tables/TextFile.h"
#include "tools/tables/Turn.h"

namespace {
constexpr int kSamples = 1000;

struct Timing {  // ms
    int pStart;
    int pLength;
    int qrsOnset;
    int tPeak;
    int tLength;
};

struct Waves {  // uV
    double p;
    double st;
    double t;
};

struct Lead {
    Waves waves{};
    std::vector<CurvePoint> qrs;  // ms from the onset
};

struct Description {
    std::optional<Timing> timing;
    std::map<std::string, Lead> leads;
};

void AddPoints(const TextLine& line, std::vector<CurvePoint>& points)
{
    for (std::size_t i = 1; i < line.Count(); i += 2) {
        const CurvePoint point{line.Number(i), line.Number(i + 1)};
        if (!points.empty() && !(point.x > points.back().x)) {
            line.Fail("the times of the points do not rise");
        }
        points.push_back(point);
    }
}

Timing ReadTiming(const TextLine& line)
{
    line.Require(6);
    return {line.Integer(1), line.Integer(2), line.Integer(3), line.Integer(4), line.Integer(5)};
}

Description ReadDescriptionFile(const std::filesystem::path& file)
{
    Description description;
    Lead* lead = nullptr;
    for (const TextLine& line : ReadTextFile(file)) {
        const std::string& key = line.Word(0);
        if (key == "timing") {
            description.timing = ReadTiming(line);
        } else if (key == "lead") {
            line.Require(2);
            lead = &description.leads[line.Word(1)];
        } else if (lead != nullptr && key == "waves") {
            line.Require(4);
            lead->waves = {line.Number(1), line.Number(2), line.Number(3)};
        } else if (lead != nullptr && key == "qrs") {
            AddPoints(line, lead->qrs);
        } else {
            line.Fail("'" + key + "' is not expected here");
        }
    }
    return description;
}

// The level on which the T wave stands: the ST segment's up to its peak, then 0.
double LevelAfterQrs(const Lead& lead, const Timing& timing, double sinceQrs, double tOnset)
{
    if (sinceQrs >= tOnset) return sinceQrs < timing.tPeak - timing.qrsOnset ? lead.waves.st : 0.0;
    const CurvePoint& end = lead.qrs.back();
    return end.y + (lead.waves.st - end.y) * (sinceQrs - end.x) / (tOnset - end.x);
}

double ValueAt(const Lead& lead, const MonotoneCurve& qrs, const Timing& timing, int sample)
{
    const double sinceOnset = sample - timing.qrsOnset;
    if (sinceOnset < 0.0) {
        return lead.waves.p * RaisedCosine(sample - timing.pStart, timing.pLength);
    }
    if (sinceOnset <= lead.qrs.back().x) return qrs.At(sinceOnset);
    const double tOnset = timing.tPeak - timing.tLength / 2.0 - timing.qrsOnset;
    const double level = LevelAfterQrs(lead, timing, sinceOnset, tOnset);
    return level + (lead.waves.t - level) * RaisedCosine(sinceOnset - tOnset, timing.tLength);
}

std::vector<std::int32_t> MakeLead(const Lead& lead, const Timing& timing)
{
    const MonotoneCurve qrs(lead.qrs);
    std::vector<std::int32_t> samples;
    for (int i = 0; i < kSamples; ++i) {
        samples.push_back(static_cast<std::int32_t>(std::lround(ValueAt(lead, qrs, timing, i))));
    }
    return samples;
}
}  // namespace

std::vector<AneLead> ReadAneLeads(const std::filesystem::path& file)
{
    const Description description = ReadDescriptionFile(file);
    if (!description.timing) throw TableError(file.string() + ": the timing is missing");
    std::vector<AneLead> leads;
    for (const char* name : {"I", "II", "III", "V1", "V2", "V3", "V4", "V5", "V6"}) {
        AneLead lead{name, {}};
        if (lead.name == "III") {
            for (std::size_t i = 0; i < kSamples; ++i) {
                lead.microvolts.push_back(leads[1].microvolts[i] - leads[0].microvolts[i]);
            }
        } else {
            const auto found = description.leads.find(lead.name);
            if (found == description.leads.end() || found->second.qrs.size() < 2) {
                throw TableError(file.string() + ": lead " + name + " or its QRS is missing");
            }
            lead.microvolts = MakeLead(found->second, *description.timing);
        }
        leads.push_back(std::move(lead));
    }
    return leads;
}
