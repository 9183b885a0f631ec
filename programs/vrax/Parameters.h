// The parameters of a signal by name: what a user may write, with units and ranges. The calls that
// set them are in ParameterCalls.h.
#pragma once

#include <limits>
#include <map>
#include <string>
#include <vector>

namespace vrax {

constexpr double kKept = std::numeric_limits<double>::quiet_NaN();

enum class Kind {
    Number,
    Whole,
    Switch,  // on, off
    Choice,  // one of a list of words; the value is its place in the list
    Leads,   // numbers with commas between them, "all" or "none"; the value is a mask
    Slots,   // codes with commas between them; the value has two bits of each, the first lowest
    File,    // a path, which has no value
};

struct Parameter {
    std::string name;
    std::string group;
    Kind kind = Kind::Number;
    std::string unit = {};
    double low = 0.0;
    double high = 1.0;
    double initial = 0.0;  // in force when it is not given; kKept where the instrument decides
    std::string help = {};
    std::vector<std::string> words = {};  // of a choice
};

constexpr int kPpgChannels = 3;
constexpr int kLeads = 9;  // outputs that the instrument has
constexpr int kSlots = 8;  // of the LED pulse groups

// In the order in which help shows them.
const std::vector<Parameter>& Parameters();

// Throws Failure for a name that is none.
const Parameter& FindParameter(const std::string& name);

// "-40 to 40 mV", "on or off", "single, double-150, double-250".
std::string RangeText(const Parameter& parameter);

// "amplitude takes -40 to 40 mV, ...".
std::string RangeTexts(const std::vector<std::string>& names);

// The numbers that a value of the kinds Leads and Slots stands for.
std::vector<int> LeadsOf(double value);
std::vector<int> SlotsOf(double value);

// The value that a text stands for. Throws Failure, which tells the range.
double ReadValue(const Parameter& parameter, const std::string& text);

// A value as a user would write it, with its unit.
std::string ValueText(const Parameter& parameter, double value);

// What was given, and for the rest the initial values.
class Values {
public:
    // Throws Failure for an unknown name and a value out of range.
    void Set(const std::string& name, const std::string& text);
    bool Has(const std::string& name) const { return given_.contains(name); }
    double operator[](const std::string& name) const;
    int Int(const std::string& name) const { return static_cast<int>((*this)[name]); }
    bool IsOn(const std::string& name) const { return (*this)[name] != 0.0; }
    // Of the kind Choice.
    const std::string& Word(const std::string& name) const;
    // Of the kind File; empty when it is not given.
    std::string Path(const std::string& name) const;
    // The frequency in Hz, which may be given as a rate.
    double FrequencyHz() const;

    // As a user would write it, with its unit.
    std::string Text(const std::string& name) const;

    // "amplitude 2 mV", those that were given, in the order of the table.
    std::vector<std::string> Texts() const;

private:
    struct Given {
        double value;
        std::string text;
    };
    std::map<std::string, Given> given_;
};

}  // namespace vrax
