#include "Parameters.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Failure.h"

namespace vrax {

namespace {

constexpr char kSignal[] = "Signal";
constexpr char kBeat[] = "Beat";
constexpr char kPacing[] = "Pacing";
constexpr char kDisturbance[] = "Disturbances and tests";
constexpr char kElectrodes[] = "Outputs and electrodes";
constexpr char kRespiration[] = "Respiration";
constexpr char kPpg[] = "PPG";
constexpr char kSensor[] = "PPG sensor";
constexpr char kRates[] = "Samples and raw codes";
constexpr char kModule[] = "Respiration module, held by hand";
constexpr char kPort[] = "Port";

// Longer than a beat can be at 0.017 Hz.
constexpr double kMostTransitMs = 60000;
constexpr double kMostTimeoutMs = 10000;
constexpr double kMostCode = 65535;

const std::vector<std::string> kShapes = {"sine", "triangle", "square", "pulse"};
const std::vector<std::string> kBaselines = {"0",    "100",  "200",  "500",  "1000", "1500",
                                             "2000", "2500", "3000", "3500", "4000", "4500"};
const std::vector<std::string> kOrigins = {"kept", "factory"};

void AddSignals(std::vector<Parameter>& list)
{
    using enum Kind;
    list.insert(
        list.end(),
        {{"amplitude", kSignal, Number, "mV", -40, 40, 1, "height, peak to peak"},
         {"frequency", kSignal, Number, "Hz", 0.017, 500, 1, "cycles a second"},
         {"rate", kSignal, Number, "1/min", 1.02, 30000, 60, "the frequency, as a heart rate"},
         {"dc-offset", kSignal, Whole, "mV", -1000, 1000, 0, "constant part"},
         {"dc-variable", kSignal, Switch, "", 0, 1, 1, "any offset, or -300, 0 and 300 mV alone"},
         {"dc-common", kSignal, Switch, "", 0, 1, 0, "offset in common mode"},
         {"pulse-width", kSignal, Number, "ms", 1, 300, 100, "of the pulse signals"},
         {"wave227", kSignal, Whole, "", 0, 9, 0, "waveform of iec227"},
         {"wave251", kSignal, Whole, "", 0, 15, 0, "waveform of iec251"},
         {"wave247", kSignal, Whole, "", 0, 4, 0, "record of iec247"},
         {"ane-lead", kSignal, Whole, "", 0, 8, 0, "lead of ane20000: I, II, III, V1 to V6"},
         {"loop", kSignal, Switch, "", 0, 1, 1, "repeat waveforms and files, or play them once"},
         {"ecg", kSignal, Switch, "", 0, 1, 1, "the ECG part of the output"},
         {"qrs-duration", kBeat, Number, "ms", 5, 200, 100, "QRS complex of ecg and custom-ecg"},
         {"t-wave", kBeat, Number, "mV", 0, 5, 0.2, "T wave of ecg and custom-ecg"},
         {"p-wave", kBeat, Number, "mV", 0, 2, 0.2, "P wave of custom-ecg"},
         {"p-duration", kBeat, Number, "ms", 50, 100, 100, "P wave of custom-ecg"},
         {"pr-interval", kBeat, Number, "ms", 0, 200, 160, "of custom-ecg"},
         {"qt-interval", kBeat, Number, "ms", 100, 900, 350, "of custom-ecg"},
         {"st-deviation", kBeat, Number, "mV", -2, 2, 0, "of custom-ecg"},
         {"t-duration", kBeat, Number, "ms", 100, 900, 180, "T wave of custom-ecg"}});
}

void AddPacing(std::vector<Parameter>& list)
{
    using enum Kind;
    list.insert(
        list.end(),
        {{"pacing", kPacing, Number, "mV", -700, 700, 0, "height of the pulses; 0 for none"},
         {"pacing-duration", kPacing, Number, "ms", 0.03, 3, 2, "length of a pulse"},
         {"pacing-mode",
          kPacing,
          Choice,
          "",
          0,
          2,
          0,
          "pulses, two of them 150 or 250 ms apart",
          {"single", "double-150", "double-250"}},
         {"pacing-rate", kPacing, Whole, "1/min", 10, 360, 60, "once a beat when it is not given"},
         {"overshoot", kPacing, Number, "mV", -5, 5, 0, "behind each pulse, against it"},
         {"overshoot-time", kPacing, Whole, "ms", 0, 100, 0, "its time constant; 0 for none"}});
}

void AddDisturbances(std::vector<Parameter>& list)
{
    using enum Kind;
    list.insert(
        list.end(),
        {{"noise",
          kDisturbance,
          Choice,
          "",
          0,
          9,
          0,
          "mains frequency in Hz, or random noise",
          {"none", "50", "60", "100", "120", "150", "180", "200", "240", "random"}},
         {"noise-amplitude", kDisturbance, Number, "mV", 0.01, 5, 0.1, "peak to peak"},
         {"stress-noise",
          kDisturbance,
          Choice,
          "",
          0,
          3,
          0,
          "record: electrode motion, baseline wander, muscle artefact",
          {"none", "em", "bw", "ma"}},
         {"stress-gain", kDisturbance, Number, "", 0.1, 10, 1, "factor of that record"},
         {"drift", kDisturbance, Switch, "", 0, 1, 0, "slow triangle on ecg and custom-ecg"},
         {"drift-amplitude", kDisturbance, Number, "mV", 1, 8, 4, "peak to peak"},
         {"drift-frequency", kDisturbance, Number, "Hz", 0.05, 2, 0.1, "of the drift"},
         {"overload",
          kDisturbance,
          Choice,
          "Hz",
          0,
          3,
          0,
          "frequency of baseline-reset",
          {"50", "60", "80", "100"}},
         {"range-amplitude", kDisturbance, Number, "mV", 0, 10, 1,
          "small sine of the dynamic-range tests"},
         {"range-frequency", kDisturbance, Number, "Hz", 1, 60, 40, "of that sine"},
         {"scan-start", kDisturbance, Number, "Hz", 0.67, 500, 0.67,
          "first frequency of scan-sine"},
         {"scan-stop", kDisturbance, Number, "Hz", 0.67, 500, 150, "last frequency of scan-sine"},
         {"scan-seconds", kDisturbance, Whole, "s", 10, 180, 30, "length of scan-sine"}});
}

void AddElectrodes(std::vector<Parameter>& list)
{
    using enum Kind;
    list.insert(list.end(),
                {{"leads", kElectrodes, Leads, "", 0, kLeads - 1, 1,
                  "outputs that carry the signal"},
                 {"input-impedance", kElectrodes, Switch, "", 0, 1, 1, "input impedance mode"},
                 {"lead-off", kElectrodes, Whole, "", 0, 3, 0, "lead-off condition; 0 for none"},
                 {"rld", kElectrodes, Switch, "", 0, 1, 0, "measure the right-leg drive"}});
}

void AddRespiration(std::vector<Parameter>& list)
{
    using enum Kind;
    list.insert(
        list.end(),
        {{"impedance", kRespiration, Whole, "mOhm", 50, 10000, 1000,
          "impedance respiration, peak to peak; the instrument makes it"},
         {"impedance-rate", kRespiration, Whole, "1/min", 1, 200, 15, "its breaths"},
         {"impedance-ratio", kRespiration, Whole, "", 1, 5, 2, "N for inhale:exhale of 1:N"},
         {"impedance-baseline", kRespiration, Choice, "Ohm", 0, 11, 3,
          "below 500 and above 2500 with the module alone", kBaselines},
         {"impedance-apnea", kRespiration, Whole, "s", 0, 60, 0, "of every minute"},
         {"impedance-hold", kRespiration, Switch, "", 0, 1, 0,
          "without breath: the module at 50 Ohm and the impedance above it"},
         {"impedance-file", kRespiration, File, "", 0, 0, kKept,
          "text file of one channel in place of the breath: Ohm above 50, of the module"},
         {"breathing-rate", kRespiration, Whole, "1/min", 1, 200, 15,
          "breaths that modulate ecg, custom-ecg and the PPG"},
         {"breathing-ratio", kRespiration, Whole, "", 1, 5, 2, "N for inhale:exhale of 1:N"},
         {"breathing-apnea", kRespiration, Whole, "s", 0, 60, 0, "of every minute"},
         {"breathing-baseline", kRespiration, Whole, "%", 0, 100, 0, "shift of the ECG"},
         {"breathing-amplitude", kRespiration, Whole, "%", 0, 100, 0, "change of its height"},
         {"breathing-frequency", kRespiration, Whole, "%", 0, 100, 0, "change of its rate"},
         {"ppg-breathing-baseline", kRespiration, Whole, "%", 0, 100, 0, "shift of the pulses"},
         {"ppg-breathing-amplitude", kRespiration, Whole, "%", 0, 100, 0, "change of their height"},
         {"ppg-breathing-frequency", kRespiration, Whole, "%", 0, 100, 0, "change of their rate"}});
}

// The ranges of the levels are those of the module with the widest ones.
void AddPulse(std::vector<Parameter>& list, const std::string& ppg)
{
    using enum Kind;
    list.insert(
        list.end(),
        {{ppg, kPpg, Choice, "", 0, 3, 3, "a pulse of this shape on the channel", kShapes},
         {ppg + "-frequency", kPpg, Number, "Hz", 0.16, 5, 1, "that of the ECG if not given"},
         {ppg + "-dc", kPpg, Number, "mV", 100, 3000, 1000, "DC level"},
         {ppg + "-ac", kPpg, Number, "mV", 0.75, 300, 10,
          "pulse, peak to peak; most modules end at 30"},
         {ppg + "-notch", kPpg, Number, "mV", 0, 300, 5.6, "notch; 56 % of the pulse"},
         {ppg + "-dicrotic", kPpg, Number, "mV", 0, 300, 6.4, "dicrotic wave; 64 % of the pulse"},
         {ppg + "-peak-time", kPpg, Whole, "ms", 0, 6250, 150, "peak; 15 % of the period"},
         {ppg + "-notch-time", kPpg, Whole, "ms", 0, 6250, 360, "notch; 36 % of the period"},
         {ppg + "-dicrotic-time", kPpg, Whole, "ms", 0, 6250, 460,
          "dicrotic wave; 46 % of the period"},
         {ppg + "-file", kPpg, File, "", 0, 0, kKept,
          "text file of two channels in place of the shape: a period of DC and pulse, mV"},
         {ppg + "-sync", kPpg, Whole, "", 1, 2, 1, "LED synchronisation"},
         {ppg + "-invert", kPpg, Switch, "", 0, 1, 0, "upside down"}});
}

void AddPpg(std::vector<Parameter>& list)
{
    using enum Kind;
    for (int led = 0; led < kPpgChannels; ++led) AddPulse(list, fmt::format("ppg{}", led));
    list.insert(list.end(),
                {{"ppg-transit-time", kPpg, Whole, "ms", -1, kMostTransitMs, -1,
                  "from the R wave to the peak of the pulse; -1: not synchronised"},
                 {"ppg-above-dc", kPpg, Switch, "", 0, 1, 0, "the pulse reaches above its level"},
                 {"ambient-light", kSensor, Whole, "", 0, 14, kKept, "that the module adds"},
                 {"dynamic-light", kSensor, Switch, "", 0, 1, 0, "dynamic light"},
                 {"dynamic-strength", kSensor, Switch, "", 0, 1, 0, "follow the received light"},
                 {"strength-detection", kSensor, Switch, "", 0, 1, 0, "signal strength detection"},
                 {"transmission-rate", kSensor, Whole, "", 0, 5, 0, "of module 3407"},
                 {"pulse-groups", kSensor, Slots, "", 0, 3, kKept,
                  "LED pulse group of each of the eight slots; 0 for none"},
                 {"pulse-group-word", kSensor, Whole, "", 0, kMostCode, 0,
                  "beside pulse-groups; 0 fixes them when the first slot has one"},
                 {"trigger-levels", kSensor, Choice, "", 0, 1, 0,
                  "give all LEDs those that the module left the factory with", kOrigins},
                 {"led-levels", kSensor, Choice, "", 0, 1, 0,
                  "give all LEDs those that the module left the factory with", kOrigins}});
    for (int position = 1; position <= kPpgChannels; ++position) {
        list.push_back({fmt::format("trigger-level{}", position), kSensor, Whole, "", 0, 255, kKept,
                        "trigger level of the LED"});
        list.push_back({fmt::format("led-level{}", position), kSensor, Whole, "", 0, 255, kKept,
                        "drive level of the LED"});
    }
}

// What a test of the external module asks for; respiration that is on sets it anew.
void AddModule(std::vector<Parameter>& list)
{
    using enum Kind;
    list.insert(list.end(), {{"module-baseline", kModule, Choice, "Ohm", 0, 11, kKept,
                              "baseline of the module", kBaselines},
                             {"module-code1", kModule, Whole, "", 0, kMostCode, 0,
                              "code of its first resistance; all three are set"},
                             {"module-code2", kModule, Whole, "", 0, kMostCode, 0, "of its second"},
                             {"module-code3", kModule, Whole, "", 0, kMostCode, 0, "of its third"},
                             {"module-resistance", kModule, Number, "Ohm", 50, 60, kKept,
                              "resistance, in place of the three codes"},
                             {"module-baseline-code", kModule, Whole, "", 0, kMostCode, kKept,
                              "code of its baseline"}});
}

// How long one read and one write may take.
void AddPort(std::vector<Parameter>& list)
{
    using enum Kind;
    list.insert(list.end(), {{"read-timeout", kPort, Whole, "ms", 1, kMostTimeoutMs, 100,
                              "of a read from the port"},
                             {"write-timeout", kPort, Whole, "ms", 1, kMostTimeoutMs, 200,
                              "of a write to it"}});
}

std::vector<Parameter> MakeParameters()
{
    std::vector<Parameter> list;
    AddSignals(list);
    AddPacing(list);
    AddDisturbances(list);
    AddElectrodes(list);
    AddRespiration(list);
    AddPpg(list);
    AddModule(list);
    list.push_back({"sample-rate", kRates, Kind::Whole, "1/s", 100, 40000, 20000,
                    "samples a second; a PPG has 10000, the respiration module 5000"});
    list.push_back({"dc-code", kRates, Kind::Whole, "", 0, kMostCode, kKept,
                    "code for the DC converter in place of the offset"});
    AddPort(list);
    return list;
}

Failure Refused(const Parameter& parameter, const std::string& text)
{
    return {fmt::format("{} \"{}\" is refused", parameter.name, text),
            fmt::format("{} takes {}", parameter.name, RangeText(parameter)), kWrongUsage};
}

// Independent of the locale, and the whole text.
double ReadNumber(const Parameter& parameter, const std::string& text)
{
    double value = 0.0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    const bool isNumber = error == std::errc() && stop == end && std::isfinite(value);
    const bool isWhole = parameter.kind == Kind::Number || value == std::trunc(value);
    if (!isNumber || !isWhole || value < parameter.low || value > parameter.high) {
        throw Refused(parameter, text);
    }
    return value;
}

double ReadLeads(const Parameter& parameter, const std::string& text)
{
    if (text == "none") return 0.0;
    if (text == "all") return (1U << kLeads) - 1U;
    unsigned mask = 0;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t comma = std::min(text.find(',', start), text.size());
        int lead = -1;
        const auto [stop, error] = std::from_chars(text.data() + start, text.data() + comma, lead);
        if (error != std::errc() || stop != text.data() + comma || lead < 0 || lead >= kLeads) {
            throw Refused(parameter, text);
        }
        mask |= 1U << lead;
        start = comma + 1;
    }
    return mask;
}

// One digit each, all of them.
double ReadSlots(const Parameter& parameter, const std::string& text)
{
    unsigned value = 0;
    if (text.size() != 2 * kSlots - 1) throw Refused(parameter, text);
    for (unsigned i = 0; i < text.size(); ++i) {
        const char symbol = text[i];
        const bool isFitting =
            i % 2 == 1 ? symbol == ',' : symbol >= '0' && symbol <= '0' + parameter.high;
        if (!isFitting) throw Refused(parameter, text);
        if (i % 2 == 0) value |= static_cast<unsigned>(symbol - '0') << i;
    }
    return value;
}

std::string LeadsText(double value)
{
    const std::vector<int> leads = LeadsOf(value);
    return leads.empty() ? "none" : fmt::format("{}", fmt::join(leads, ","));
}

}  // namespace

const std::vector<Parameter>& Parameters()
{
    static const std::vector<Parameter> list = MakeParameters();
    return list;
}

const Parameter& FindParameter(const std::string& name)
{
    const auto& list = Parameters();
    const auto found = std::find_if(list.begin(), list.end(),
                                    [&](const Parameter& entry) { return entry.name == name; });
    if (found == list.end()) {
        throw Failure(fmt::format("there is no parameter \"{}\"", name),
                      "vrax play --help lists them", kWrongUsage);
    }
    return *found;
}

std::string RangeText(const Parameter& parameter)
{
    const std::string unit = parameter.unit.empty() ? "" : " " + parameter.unit;
    switch (parameter.kind) {
        case Kind::Switch: return "on or off";
        case Kind::Choice: return fmt::format("{}{}", fmt::join(parameter.words, ", "), unit);
        case Kind::Leads: return fmt::format("0 to {} as in 0,2,3, all or none", kLeads - 1);
        case Kind::Slots:
            return fmt::format("{} codes 0 to {:g}, as in 1,2,0,1,2,0,0,0", kSlots, parameter.high);
        case Kind::File: return "FILE";
        case Kind::Whole:
        case Kind::Number: break;
    }
    return fmt::format("{:g} to {:g}{}{}", parameter.low, parameter.high, unit,
                       parameter.kind == Kind::Whole ? ", whole" : "");
}

std::string RangeTexts(const std::vector<std::string>& names)
{
    std::vector<std::string> texts;
    for (const std::string& name : names) {
        texts.push_back(fmt::format("{} takes {}", name, RangeText(FindParameter(name))));
    }
    return fmt::format("{}", fmt::join(texts, ", "));
}

std::vector<int> LeadsOf(double value)
{
    const auto mask = static_cast<unsigned>(value);
    std::vector<int> leads;
    for (int lead = 0; lead < kLeads; ++lead) {
        if ((mask >> lead & 1U) != 0) leads.push_back(lead);
    }
    return leads;
}

std::vector<int> SlotsOf(double value)
{
    const auto bits = static_cast<unsigned>(value);
    std::vector<int> codes;
    for (int slot = 0; slot < kSlots; ++slot) {
        codes.push_back(static_cast<int>(bits >> 2 * slot & 3U));
    }
    return codes;
}

double ReadValue(const Parameter& parameter, const std::string& text)
{
    const auto& words = parameter.words;
    switch (parameter.kind) {
        case Kind::Switch:
            if (text == "on" || text == "off") return text == "on" ? 1.0 : 0.0;
            throw Refused(parameter, text);
        case Kind::Choice: {
            const auto found = std::find(words.begin(), words.end(), text);
            if (found == words.end()) throw Refused(parameter, text);
            return static_cast<double>(found - words.begin());
        }
        case Kind::Leads: return ReadLeads(parameter, text);
        case Kind::Slots: return ReadSlots(parameter, text);
        case Kind::File:
            if (text.empty()) throw Refused(parameter, text);
            return kKept;
        case Kind::Whole:
        case Kind::Number: break;
    }
    return ReadNumber(parameter, text);
}

std::string ValueText(const Parameter& parameter, double value)
{
    const std::string unit = parameter.unit.empty() ? "" : " " + parameter.unit;
    switch (parameter.kind) {
        case Kind::Switch: return value != 0.0 ? "on" : "off";
        case Kind::Choice: return parameter.words.at(static_cast<std::size_t>(value)) + unit;
        case Kind::Leads: return LeadsText(value);
        case Kind::Slots: return fmt::format("{}", fmt::join(SlotsOf(value), ","));
        case Kind::File: return "";
        case Kind::Whole:
        case Kind::Number: break;
    }
    return fmt::format("{:g}{}", value, unit);
}

void Values::Set(const std::string& name, const std::string& text)
{
    given_[name] = {ReadValue(FindParameter(name), text), text};
}

double Values::operator[](const std::string& name) const
{
    const auto found = given_.find(name);
    return found != given_.end() ? found->second.value : FindParameter(name).initial;
}

const std::string& Values::Word(const std::string& name) const
{
    return FindParameter(name).words.at(static_cast<std::size_t>((*this)[name]));
}

std::string Values::Path(const std::string& name) const
{
    const auto found = given_.find(name);
    return found != given_.end() ? found->second.text : "";
}

double Values::FrequencyHz() const
{
    constexpr double kSecondsPerMinute = 60.0;
    return Has("rate") ? (*this)["rate"] / kSecondsPerMinute : (*this)["frequency"];
}

std::string Values::Text(const std::string& name) const
{
    const Parameter& parameter = FindParameter(name);
    return parameter.kind == Kind::File ? Path(name) : ValueText(parameter, (*this)[name]);
}

std::vector<std::string> Values::Texts() const
{
    std::vector<std::string> texts;
    for (const Parameter& parameter : Parameters()) {
        if (!Has(parameter.name)) continue;
        texts.push_back(parameter.name + " " + Text(parameter.name));
    }
    return texts;
}

}  // namespace vrax
