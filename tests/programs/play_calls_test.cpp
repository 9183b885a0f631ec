// Every parameter of vrax play reaches its call: seen in the API log of a run, and for calls that
// are not logged in what the instrument is sent.

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>

#include "programs/PlayedParameters.h"
#include "programs/ProgramRun.h"
#include "programs/vrax/Parameters.h"

namespace {

std::string NameOf(const testing::TestParamInfo<ParameterRun>& info) { return info.param.name; }

// A run of 0.2 s; `more` are further options of play.
ProgramOutcome PlayAll(const ParameterRun& run, const std::string& instrument,
                       const std::string& more)
{
    return RunApart(VRAX_INSTRUMENT_PROGRAM " --strict " + instrument + " " + run.instrument +
                    " -- " VRAX_PROGRAM " play " + run.signal + " --timeout 60 --for 200ms " +
                    more + run.Options());
}

}  // namespace

class LoggedParameters : public testing::TestWithParam<ParameterRun> {};

TEST_P(LoggedParameters, LeadToTheirCalls)
{
    const TempDir folder;
    const std::string log = folder.File("calls.log");
    const ProgramOutcome outcome = PlayAll(GetParam(), "", "--log " + log);
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    std::ifstream file(log);
    std::set<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.insert(line);
    for (const PlayedParameter& parameter : GetParam().parameters) {
        for (const char* line : parameter.proof) {
            EXPECT_TRUE(lines.contains(line)) << parameter.name << ": " << line;
        }
    }
}
INSTANTIATE_TEST_SUITE_P(Play, LoggedParameters, testing::ValuesIn(LoggedRuns()), NameOf);

class SentParameters : public testing::TestWithParam<ParameterRun> {};

TEST_P(SentParameters, ReachTheInstrument)
{
    const TempDir folder;
    const std::string trace = folder.File("trace");
    const ProgramOutcome outcome = PlayAll(GetParam(), "--trace " + trace, "");
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    const std::string requests = ReadWholeFile(trace);
    for (const PlayedParameter& parameter : GetParam().parameters) {
        for (const char* request : parameter.proof) {
            EXPECT_TRUE(Has(requests, request)) << parameter.name << ": " << request;
        }
    }
}
INSTANTIATE_TEST_SUITE_P(Play, SentParameters, testing::ValuesIn(SentRuns()), NameOf);

TEST(PlayedParameters, AreAllThatThereAreAndNoneTakesItsInitialValue)
{
    std::map<std::string, int> seen;
    for (const auto& runs : {LoggedRuns(), SentRuns()}) {
        for (const ParameterRun& run : runs) {
            for (const PlayedParameter& each : run.parameters) {
                const vrax::Parameter& parameter = vrax::FindParameter(each.name);
                EXPECT_NE(vrax::ReadValue(parameter, each.value), parameter.initial) << each.name;
                EXPECT_FALSE(each.proof.empty()) << each.name;
                ++seen[each.name];
            }
        }
    }
    for (const std::string& name : ParametersSeenElsewhere()) ++seen[name];
    for (const vrax::Parameter& parameter : vrax::Parameters()) {
        EXPECT_EQ(seen[parameter.name], 1) << parameter.name;
    }
    EXPECT_EQ(seen.size(), vrax::Parameters().size());
}
