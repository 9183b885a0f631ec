// The program vrax-tables and the choice of records by the build, run as a user runs them.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include "support/PublicRecords.h"
#include "support/TempDir.h"

namespace {
namespace fs = std::filesystem;

const std::string kDescriptions = VRAX_DESCRIPTIONS_DIR;

struct Outcome {
    int status;
    std::string output;  // both streams
};

Outcome Run(const std::string& command)
{
    Outcome outcome{-1, ""};
    FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return outcome;
    char buffer[4096];
    for (std::size_t count; (count = fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
        outcome.output.append(buffer, count);
    }
    outcome.status = WEXITSTATUS(pclose(pipe));
    return outcome;
}

Outcome Tables(const std::string& arguments)
{
    return Run(std::string(VRAX_TABLES_PROGRAM) + " " + arguments);
}

Outcome FindRecords(const std::string& folder)
{
    return Run(std::string(VRAX_CMAKE) + " -DRECORDS='" + folder + "' -P " VRAX_RECORDS_SCRIPT);
}

std::string BuildArguments(const std::string& out, const std::string& ec13,
                           const std::string& noise)
{
    return "build --out " + out + " --cal " + kDescriptions + "/cal.txt --ane20000 " +
           kDescriptions + "/ane20000.txt " + ec13 + " " + noise;
}

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

std::int32_t Entry(const std::string& bytes, std::size_t index)
{
    std::int32_t value = 0;
    std::memcpy(&value, bytes.data() + index * sizeof value, sizeof value);
    return value;
}

TEST(TablesProgram, BuildsTablesOfTheirSizesFromDescriptions)
{
    TempDir out;
    const Outcome outcome =
        Tables(BuildArguments(out.File("new"), "--ec13 " + kDescriptions + "/ec13",
                              "--noise " + kDescriptions + "/noise.txt"));
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(fs::file_size(out.File("new/iec227w.bin")), 10U * 66000U * 4U);
    EXPECT_EQ(fs::file_size(out.File("new/iec251w.bin")), 16U * 1000U * 4U);
    EXPECT_EQ(fs::file_size(out.File("new/ane20000.bin")), 9U * 1000U * 4U);
    const std::string noise = ReadWholeFile(out.File("new/noise.bin"));
    ASSERT_EQ(noise.size(), (3U * 650000U + 1U) * 4U);
    EXPECT_EQ(Entry(noise, 3U * 650000U), 0);
    EXPECT_EQ(ReadWholeFile(out.File("new/identity.txt")),
              "@(#)vrax tables: EC13 likeness, noise likeness, CAL likeness, ANE20000 likeness");
}

TEST(TablesProgram, BuildsExactTablesFromRecords)
{
    const std::string records = PublicRecordsFolder();
    if (!fs::exists(records + "/nstdb/ma.dat")) GTEST_SKIP() << "no public records in " << records;
    TempDir out;
    const std::string both =
        "--ec13-records " + records + "/aami-ec13 --noise-records " + records + "/nstdb";
    const Outcome built = Tables(BuildArguments(out.Path(), both, ""));
    ASSERT_EQ(built.status, 0) << built.output;
    const Outcome exact = Tables("compare --exact --tables " + out.Path() + " " + both);
    EXPECT_EQ(exact.status, 0) << exact.output;
    EXPECT_TRUE(Contains(exact.output, "aami4b_h    65237         0     0.0"));

    // One sample off by one microvolt.
    std::string noise = ReadWholeFile(out.File("noise.bin"));
    noise[4 * 1'000'000] = static_cast<char>(noise[4 * 1'000'000] ^ 1);
    std::ofstream(out.File("noise.bin"), std::ios::binary) << noise;
    EXPECT_EQ(Tables("compare --exact --tables " + out.Path() + " " + both).status, 3);
    EXPECT_EQ(Tables("compare --tables " + out.Path() + " " + both).status, 0);
}

TEST(TablesProgram, TellsWhichTablesALibraryHolds)
{
    const Outcome outcome = Tables("which " VRAX_LIBRARY);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "@(#)vrax tables: " VRAX_TABLES_IDENTITY "\n");
}

TEST(TablesProgram, TellsThatAFileHoldsNoTables)
{
    const Outcome outcome = Tables("which " VRAX_TABLES_PROGRAM);
    EXPECT_EQ(outcome.status, 3);
    EXPECT_TRUE(Contains(outcome.output, "holds no tables"));
    EXPECT_EQ(Tables("which /nonexistent/libvrax.so").status, 1);
}

TEST(TablesProgram, NamesWhatItRefuses)
{
    TempDir out;
    const Outcome missing = Tables(BuildArguments(out.Path(), "--ec13 /nonexistent",
                                                  "--noise " + kDescriptions + "/noise.txt"));
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(Contains(missing.output, "/nonexistent/aami3a.txt")) << missing.output;
    for (const char* arguments :
         {"", "dance", "build", "build --out", "build --dance x", "which"}) {
        EXPECT_EQ(Tables(arguments).status, 2) << arguments;
    }
    EXPECT_EQ(Tables("--help").status, 0);
}

class RecordFolder : public testing::Test {
protected:
    void SetUp() override
    {
        const std::string records = PublicRecordsFolder();
        if (!fs::exists(records + "/nstdb/ma.dat")) {
            GTEST_SKIP() << "no public records in " << records;
        }
        fs::copy(records + "/nstdb", folder_.Path());
    }
    TempDir folder_;
};

TEST_F(RecordFolder, MayHoldTheNoiseAlone)
{
    const Outcome outcome = FindRecords(folder_.Path());
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_TRUE(Contains(outcome.output, "has no EC13 records: their descriptions are used"));
    EXPECT_TRUE(Contains(outcome.output, "noise: " + folder_.Path()));
}

TEST_F(RecordFolder, IsRefusedWithoutOneOfTheRecords)
{
    fs::remove(folder_.File("em.hea"));
    const Outcome outcome = FindRecords(folder_.Path());
    EXPECT_NE(outcome.status, 0);
    EXPECT_TRUE(Contains(outcome.output, "lacks em.hea")) << outcome.output;
}

TEST_F(RecordFolder, IsRefusedWithARecordThatIsNotThePublishedOne)
{
    std::string bytes = ReadWholeFile(folder_.File("bw.dat"));
    bytes[1000] = static_cast<char>(bytes[1000] ^ 1);
    std::ofstream(folder_.File("bw.dat"), std::ios::binary) << bytes;
    const Outcome outcome = FindRecords(folder_.Path());
    EXPECT_NE(outcome.status, 0);
    EXPECT_TRUE(Contains(outcome.output, "bw.dat")) << outcome.output;
    EXPECT_TRUE(Contains(outcome.output, "not the published")) << outcome.output;
}

TEST(RecordFolders, AreRefusedWithoutAnyRecord)
{
    TempDir empty;
    const Outcome outcome = FindRecords(empty.Path());
    EXPECT_NE(outcome.status, 0);
    EXPECT_TRUE(Contains(outcome.output, "no reference record")) << outcome.output;
    EXPECT_NE(FindRecords("/nonexistent").status, 0);
}
}  // namespace
