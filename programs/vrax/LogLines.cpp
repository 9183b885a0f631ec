#include "LogLines.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "Failure.h"
#include "vrax.h"

namespace vrax {

namespace {

using Values = std::vector<LogValue>;

bool B(const Values& values, std::size_t index) { return std::get<bool>(values[index]); }
double D(const Values& values, std::size_t index) { return std::get<double>(values[index]); }
int I(const Values& values, std::size_t index) { return static_cast<int>(D(values, index)); }

template <auto kFunction>
int CallInt(const Values& values)
{
    return kFunction(I(values, 0));
}

template <auto kFunction>
int CallDouble(const Values& values)
{
    return kFunction(D(values, 0));
}

template <auto kFunction>
int CallBool(const Values& values)
{
    return kFunction(B(values, 0));
}

template <auto kFunction>
int CallUnsigned(const Values& values)
{
    return D(values, 0) < 0.0 ? -2 : kFunction(static_cast<unsigned>(D(values, 0)));
}

// For calls without a result.
template <auto kFunction>
int CallNothing(const Values&)
{
    kFunction();
    return 0;
}

int SetTransitTime(const Values& values)
{
    VRAXSetPTTp(I(values, 0));
    return 0;
}

int SetLead(const Values& values) { return VRAXSetOutputLead(I(values, 0), B(values, 1)); }

int SetNoise(const Values& values) { return VRAXSetECG2_27_Noise(I(values, 0), D(values, 1)); }

int SetDynamicRange(const Values& values)
{
    return VRAXSetDynamicRangeTest(B(values, 0), B(values, 1), D(values, 2), D(values, 3));
}

// A log has the seconds last, the call has them second.
int SetScanSine(const Values& values)
{
    return VRAXSetFrequencyScanSine(B(values, 0), I(values, 3), D(values, 1), D(values, 2));
}

int SetRespiration(const Values& values)
{
    return VRAXSetRespiration(I(values, 0), I(values, 1), I(values, 2), I(values, 3), I(values, 4));
}

int SetBreathing(const Values& values)
{
    return VRAXSetRespirationAlgorithm(I(values, 0), I(values, 1), I(values, 2), I(values, 3),
                                       I(values, 4), I(values, 5));
}

int SetPulse(const Values& values)
{
    return VRAXSetPPGStandardWaveform(I(values, 0), I(values, 1), I(values, 2), I(values, 3),
                                      D(values, 4), D(values, 5), D(values, 6));
}

int EnablePulse(const Values& values) { return VRAXEnablePPGOutput(I(values, 0), B(values, 1)); }

std::vector<LoggedFunction> SignalFunctions()
{
    return {
        {"VRAXSetOutputFunction", "i", CallInt<VRAXSetOutputFunction>},
        {"SetOutputLead", "ib", SetLead},
        {"VRAXSetOutputLead", "ib", SetLead},
        {"VRAXEnableECGOutput", "b", CallBool<VRAXEnableECGOutput>},
        {"VRAXReset", "", CallNothing<VRAXReset>},
        {"VRAXResetAllLeadOff", "", CallNothing<VRAXResetAllLeadOff>},
        {"VRAXSetAmplitude", "d", CallDouble<VRAXSetAmplitude>},
        {"VRAXSetFrequency", "d", CallDouble<VRAXSetFrequency>},
        {"VRAXSetDCOffset", "i", CallInt<VRAXSetDCOffset>},
        {"VRAXSetDCOffsetVariableMode", "b", CallBool<VRAXSetDCOffsetVariableMode>},
        {"VRAXSetDCOffsetCommonMode", "b", CallBool<VRAXSetDCOffsetCommonMode>},
        {"VRAXSetPulseWidth", "d", CallDouble<VRAXSetPulseWidth>},
        {"VRAXSetInputImpedanceMode", "b", CallBool<VRAXSetInputImpedanceMode>},
        {"VRAXSetQRSDuration", "d", CallDouble<VRAXSetQRSDuration>},
        {"VRAXSetTWave", "d", CallDouble<VRAXSetTWave>},
        {"VRAXSetPDuration", "d", CallDouble<VRAXSetPDuration>},
        {"VRAXSetPRInterval", "d", CallDouble<VRAXSetPRInterval>},
        {"VRAXSetQTInterval", "d", CallDouble<VRAXSetQTInterval>},
        {"VRAXSetPWave", "d", CallDouble<VRAXSetPWave>},
        {"SetSTDeviation", "d", CallDouble<VRAXSetSTDeviation>},
        {"VRAXSetSTDeviation", "d", CallDouble<VRAXSetSTDeviation>},
        {"SetCustomizedTDuration", "d", CallDouble<VRAXSetCustomizedTDuration>},
        {"VRAXSetCustomizedTDuration", "d", CallDouble<VRAXSetCustomizedTDuration>},
        {"SetSpecialWave227", "i", CallInt<VRAXSetSpecialWave227>},
        {"VRAXSetSpecialWave227", "i", CallInt<VRAXSetSpecialWave227>},
        {"SetSpecialWave251", "i", CallInt<VRAXSetSpecialWave251>},
        {"VRAXSetSpecialWave251", "i", CallInt<VRAXSetSpecialWave251>},
        {"SetSpecialWave247", "i", CallInt<VRAXSetSpecialWave247>},
        {"VRAXSetSpecialWave247", "i", CallInt<VRAXSetSpecialWave247>},
    };
}

std::vector<LoggedFunction> TestFunctions()
{
    return {
        {"VRAXSetPacingPulseMode", "i", CallInt<VRAXSetPacingPulseMode>},
        {"VRAXSetPacingAmplitude", "d", CallDouble<VRAXSetPacingAmplitude>},
        {"VRAXSetPacingDuration", "d", CallDouble<VRAXSetPacingDuration>},
        {"VRAXSetPacingRate", "i", CallUnsigned<VRAXSetPacingRate>},
        {"VRAXSetPacingRateSynchronized", "",
         [](const Values&) { return VRAXSetPacingRateSynchronized(); }},
        {"VRAXSetOvershootTimeConstant", "i", CallUnsigned<VRAXSetOvershootTimeConstant>},
        {"VRAXSetOvershootAmplitude", "d", CallDouble<VRAXSetOvershootAmplitude>},
        {"VRAXSetBaselineResetTest", "i", CallInt<VRAXSetBaselineResetTest>},
        {"VRAXSetECG2_27_Noise", "id", SetNoise},
        {"VRAXSetECG2_27_AAMIDriftTest", "b", CallBool<VRAXSetECG2_27_AAMIDriftTest>},
        {"VRAXSetECG2_27_AAMIDriftTestAmplitude", "d",
         CallDouble<VRAXSetECG2_27_AAMIDriftTestAmplitude>},
        {"VRAXSetECG2_27_AAMIDriftTestFrequency", "d",
         CallDouble<VRAXSetECG2_27_AAMIDriftTestFrequency>},
        {"VRAXSetDynamicRangeTest", "bbdd", SetDynamicRange},
        {"VRAXSetFrequencyScanSine", "bddi", SetScanSine},
        {"SetFreqScanECG", "b", CallBool<VRAXSetFrequencyScanECG>},
        {"VRAXSetFrequencyScanECG", "b", CallBool<VRAXSetFrequencyScanECG>},
        {"VRAXSetLeadOff", "i", CallInt<VRAXSetLeadOff>, true},
        {"VRAXMeasureRLD", "b", CallBool<VRAXMeasureRLD>, true},
    };
}

std::vector<LoggedFunction> ModuleFunctions()
{
    return {
        {"VRAXSetRespiration", "iiiii", SetRespiration, true},
        {"VRAXEnableRespiration", "b", CallBool<VRAXEnableRespiration>, true},
        {"VRAXSetRespirationAlgorithm", "iiiiii", SetBreathing, true},
        {"VRAXDisableRespireAlgorithm", "", CallNothing<VRAXDisableRespireAlgorithm>},
        {"VRAXSetPPGStandardWaveform", "iiiiddd", SetPulse, false, true},
        {"VRAXSetPTTp", "i", SetTransitTime},
        {"VRAXEnablePPGOutput", "ib", EnablePulse},
        {"SetLEDAmbientLightMode", "i", CallInt<VRAXSetLEDAmbientLightMode>},
        {"VRAXSetLEDAmbientLightMode", "i", CallInt<VRAXSetLEDAmbientLightMode>},
    };
}

std::string_view Trim(std::string_view text)
{
    constexpr char kBlank[] = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlank);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

std::vector<std::string_view> SplitArguments(std::string_view text)
{
    std::vector<std::string_view> parts;
    if (Trim(text).empty()) return parts;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t comma = std::min(text.find(',', start), text.size());
        parts.push_back(Trim(text.substr(start, comma - start)));
        start = comma + 1;
    }
    return parts;
}

const char* NameOf(char kind)
{
    return kind == 'b' ? "true or false" : kind == 'i' ? "a whole number" : "a number";
}

// True when `text` is a value of the kind.
bool ReadValue(char kind, std::string_view text, LogValue& value)
{
    if (kind == 'b') {
        value = text == "true";
        return text == "true" || text == "false";
    }
    double number = 0.0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    value = number;
    if (error != std::errc() || stop != end || !std::isfinite(number)) return false;
    constexpr double kMost = std::numeric_limits<int>::max();
    return kind != 'i' || (number == std::trunc(number) && std::fabs(number) <= kMost);
}

}  // namespace

const std::vector<LoggedFunction>& LoggedFunctions()
{
    static const std::vector<LoggedFunction> list = [] {
        std::vector<LoggedFunction> all = SignalFunctions();
        for (const auto& part : {TestFunctions(), ModuleFunctions()}) {
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    }();
    return list;
}

LogCall ReadLogLine(std::string_view text)
{
    const std::string_view line = Trim(text);
    const std::size_t open = line.find('(');
    if (open == line.npos || !line.ends_with(");")) {
        throw Failure(fmt::format("\"{}\" is no call", line), "a line is written as NAME(...);");
    }
    const std::string_view name = Trim(line.substr(0, open));
    const auto& list = LoggedFunctions();
    const auto function = std::find_if(list.begin(), list.end(), [&](const LoggedFunction& entry) {
        return entry.name == name;
    });
    if (function == list.end()) {
        throw Failure(fmt::format("\"{}\" is no call that a log can have", name),
                      "take the line out, or give --skip");
    }
    const auto arguments = SplitArguments(line.substr(open + 1, line.size() - open - 3));
    const std::string_view kinds = function->parameters;
    if (arguments.size() != kinds.size()) {
        throw Failure(fmt::format("{} has {} arguments and takes {}", name, arguments.size(),
                                  kinds.size()),
                      "correct the line, or give --skip");
    }
    LogCall call{.text = std::string(line), .function = &*function};
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        LogValue value;
        if (!ReadValue(kinds[i], arguments[i], value)) {
            throw Failure(fmt::format("argument {} of {} is \"{}\" and should be {}", i + 1, name,
                                      arguments[i], NameOf(kinds[i])),
                          "correct the line, or give --skip");
        }
        call.values.push_back(value);
    }
    return call;
}

LogResult MakeLogCall(const LogCall& call)
{
    const int code = call.function->call(call.values);
    if (call.function->isOneDone) return {code, code == 1};
    return {code, call.function->isCount ? code > 0 : code == 0};
}

}  // namespace vrax
