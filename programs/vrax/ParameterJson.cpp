#include "ParameterJson.h"

#include <algorithm>

namespace vrax {

namespace {

Json ValueJson(const Parameter& parameter, const Values& values)
{
    const double value = values[parameter.name];
    switch (parameter.kind) {
        case Kind::Switch: return value != 0.0;
        // Words with a unit are numbers, all of them.
        case Kind::Choice:
            if (parameter.unit.empty()) return values.Word(parameter.name);
            return std::stoi(values.Word(parameter.name));
        case Kind::Leads: return LeadsOf(value);
        case Kind::Slots: return SlotsOf(value);
        case Kind::File: return values.Path(parameter.name);
        case Kind::Whole: return values.Int(parameter.name);
        case Kind::Number: break;
    }
    return value;
}

}  // namespace

Json ParametersJson(const Values& values)
{
    Json all = Json::object();
    for (const Parameter& parameter : Parameters()) {
        if (!values.Has(parameter.name)) continue;
        std::string name = parameter.name;
        std::replace(name.begin(), name.end(), '-', '_');
        all[name] = {{"value", ValueJson(parameter, values)}};
        if (!parameter.unit.empty()) all[name]["unit"] = parameter.unit;
    }
    return all;
}

}  // namespace vrax
