// Public recordings, loaded as an application loads them: each sample equals a second decoder's,
// and what the readers do not accept is refused. The recordings are not part of the project: a case
// without its folder is skipped.

#include <gtest/gtest.h>
#include <vrax.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <ostream>

#include "support/EdfModel.h"
#include "support/TempDir.h"
#include "support/WfdbModel.h"

namespace {
std::string ReferencePath(const std::string& name)
{
    const char* folder = std::getenv("VRAX_REFERENCE_DATA");
    return std::string(folder != nullptr ? folder : VRAX_REFERENCE_DATA) + "/" + name;
}

struct Record {
    std::vector<double> samples;
    unsigned rate = 0;
};

Record Loaded()
{
    Record record;
    unsigned count = 0;
    const double* samples = GetFileArray(&count, &record.rate);
    record.samples.assign(samples, samples + (samples == nullptr ? 0 : count));
    return record;
}

void ExpectLoaded(const std::vector<double>& expected, unsigned rate)
{
    const Record record = Loaded();
    EXPECT_EQ(record.rate, rate);
    ASSERT_EQ(record.samples.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(record.samples[i], expected[i]) << "sample " << i;
    }
}

class PublicEdf : public testing::Test {
protected:
    void SetUp() override
    {
        if (!std::filesystem::exists(ReferencePath("edf-samples"))) {
            GTEST_SKIP() << "no recordings in " << ReferencePath("edf-samples");
        }
    }

    // The first `signals` signals hold samples, the one after them the annotations.
    static void ExpectSignals(const std::string& name, int signals, int rate)
    {
        const std::string path = ReferencePath("edf-samples/" + name);
        const EdfModel model(ReadWholeFile(path));
        ASSERT_EQ(model.Signals(), static_cast<std::size_t>(signals) + 1);
        for (int signal = 0; signal < signals; ++signal) {
            const auto microvolts = model.Values(static_cast<std::size_t>(signal));
            std::vector<double> expected;
            for (const float value : microvolts) {
                expected.push_back(std::min(20.0, std::max(-20.0, 0.001 * double{value})));
            }
            ASSERT_EQ(model.Rate(static_cast<std::size_t>(signal)), rate);
            ASSERT_EQ(VRAXLoadECGedf(path.c_str(), signal), static_cast<int>(expected.size()));
            ExpectLoaded(expected, static_cast<unsigned>(rate));
        }
        for (const int absent : {signals, signals + 1, signals + 2, -1}) {
            EXPECT_EQ(VRAXLoadECGedf(path.c_str(), absent), -3) << absent;
        }
    }
};

TEST_F(PublicEdf, OfASignalGeneratorEqualsASecondDecoder)
{
    ExpectSignals("test_generator_2.edf", 11, 200);
}

TEST_F(PublicEdf, Of140SignalsEqualsASecondDecoder) { ExpectSignals("mne_test.edf", 139, 512); }

TEST_F(PublicEdf, WithTextBeyondAsciiEqualsASecondDecoder)
{
    ExpectSignals("test_utf8.edf", 1, 128);
}

TEST_F(PublicEdf, WithoutTheWordsOfEdfPlusIsRefused)
{
    EXPECT_EQ(VRAXLoadECGedf(ReferencePath("edf-samples/ekg.edf").c_str(), 0), -2);
}

// What the headers say, written down from reading them.
struct WfdbRecord {
    const char* path;
    int format;
    int signals;
    int rate;
    int samples;
    double gain;
    int adcOffset;
};

// The name of a case.
void PrintTo(const WfdbRecord& record, std::ostream* out) { *out << record.path; }

const WfdbRecord kWfdbRecords[] = {
    {"aami-ec13/aami3a", 16, 1, 720, 43081, 130, 2048},
    {"aami-ec13/aami3b", 16, 1, 720, 43142, 130, 2048},
    {"aami-ec13/aami3c", 16, 1, 720, 43144, 130, 2048},
    {"aami-ec13/aami3d", 16, 1, 720, 34511, 130, 2048},
    {"aami-ec13/aami4a", 16, 1, 720, 65211, 80, 2048},
    {"aami-ec13/aami4a_d", 16, 1, 720, 65214, 40, 2048},
    {"aami-ec13/aami4a_h", 16, 1, 720, 65207, 160, 2048},
    {"aami-ec13/aami4b", 16, 1, 720, 65238, 80, 2048},
    {"aami-ec13/aami4b_d", 16, 1, 720, 65239, 40, 2048},
    {"aami-ec13/aami4b_h", 16, 1, 720, 65237, 160, 2048},
    {"aha/0201", 212, 2, 250, 525000, 400, 0},
    {"nstdb/bw", 212, 2, 360, 650000, 200, 0},
    {"nstdb/em", 212, 2, 360, 650000, 200, 0},
    {"nstdb/ma", 212, 2, 360, 650000, 200, 0},
    {"wfdb-samples/mitdb/100", 212, 2, 360, 650000, 200, 1024},
    {"wfdb-samples/mitdb/118", 212, 2, 360, 650000, 200, 1024},
    // 200(0): the brackets give the offset, not the field of 1024.
    {"wfdb-samples/qtdb/sel100", 212, 2, 250, 225000, 200, 0},
};

class PublicWfdb : public testing::TestWithParam<WfdbRecord> {};

TEST_P(PublicWfdb, EqualsASecondDecoder)
{
    const WfdbRecord& record = GetParam();
    const std::string header = ReferencePath(record.path) + ".hea";
    const std::string data = ReferencePath(record.path) + ".dat";
    if (!std::filesystem::exists(data)) GTEST_SKIP() << "no recording " << data;
    const WfdbModel model{ReadWholeFile(data), record.format, record.signals, record.adcOffset,
                          record.gain};
    for (int channel = 0; channel < record.signals; ++channel) {
        ASSERT_EQ(VRAXLoadECGdat(header.c_str(), data.c_str(), channel), record.samples);
        ExpectLoaded(model.Read(channel, 0, record.samples).samples,
                     static_cast<unsigned>(record.rate));
    }
    for (const int absent : {record.signals, record.signals + 1, -1}) {
        EXPECT_EQ(VRAXLoadECGdat(header.c_str(), data.c_str(), absent), -3) << absent;
    }
    EXPECT_EQ(Loaded().samples.size(), static_cast<std::size_t>(record.samples));
    EXPECT_EQ(VRAXLoadECGdat(data.c_str(), data.c_str(), 0), -1);
    EXPECT_EQ(VRAXLoadECGdat(header.c_str(), (data + ".absent").c_str(), 0), -2);
}

std::string CaseName(const testing::TestParamInfo<WfdbRecord>& info)
{
    return std::filesystem::path(info.param.path).filename();
}

INSTANTIATE_TEST_SUITE_P(Record, PublicWfdb, testing::ValuesIn(kWfdbRecords), CaseName);

// The same ten seconds in three formats.
TEST(PublicAha, EqualsTheRecordThatItWasMadeFrom)
{
    const std::string derived = ReferencePath("aha/derived/0201_10s");
    if (!std::filesystem::exists(derived + ".ecg")) GTEST_SKIP() << "no recording " << derived;
    const WfdbModel model{ReadWholeFile(ReferencePath("aha/0201.dat")), 212, 2, 0, 400.0};
    for (const char* extension : {".ecg", ".txt"}) {
        for (const int channel : {0, 1}) {
            ASSERT_EQ(LoadECGAHA((derived + extension).c_str(), channel), 2500) << extension;
            ExpectLoaded(model.Read(channel, 0, 2500).samples, 250);
        }
    }
}
}  // namespace
