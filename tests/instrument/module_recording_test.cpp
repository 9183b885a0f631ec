// Recordings of the modules: further columns when they play.

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <unistd.h>

#include "instrument/CsvFile.h"

using namespace instrument;

namespace {

class TemporaryPath {
public:
    TemporaryPath()
        : path((std::filesystem::temp_directory_path() / ("vrax-csv." + std::to_string(getpid())))
                   .string())
    {}
    ~TemporaryPath() { std::filesystem::remove(path); }
    TemporaryPath(const TemporaryPath&) = delete;
    TemporaryPath& operator=(const TemporaryPath&) = delete;

    std::string Text() const
    {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }
    const std::string path;
};

Sample At(double time)
{
    Sample sample;
    sample.time = time;
    return sample;
}

Sample OfChannel(double time, std::size_t channel, double dcMv, double acMv)
{
    Sample sample = At(time);
    sample.ppg[channel] = {dcMv, acMv};
    return sample;
}

Sample Breath(double time, double ohm, double baseline)
{
    Sample sample = At(time);
    sample.respirationOhm = ohm;
    sample.baselineOhm = baseline;
    return sample;
}

}  // namespace

TEST(ModuleColumns, AreThoseOfTheChannelsThatPlay)
{
    const TemporaryPath file;
    CsvFile csv(file.path);
    Sample both = OfChannel(0, 2, 500, 5);
    both.ppg[0] = {1000, 10};
    csv.Write(std::array{both});
    EXPECT_TRUE(csv.Close());
    EXPECT_EQ(file.Text(),
              "time_s,dc_mv,ac_mv,marker,pulse_mv,ppg0_dc_mv,ppg0_ac_mv,ppg2_dc_mv,ppg2_ac_mv\n"
              "0.000000,0.000000,0.000000,0,0.000000,1000.000000,10.000000,500.000000,5.000000\n");
}

TEST(ModuleColumns, OfARespirationHoldOhms)
{
    const TemporaryPath file;
    CsvFile csv(file.path);
    csv.Write(std::array{Breath(0, 50.5, 500), Breath(0.0002, 50.75, kNotPlayed)});
    EXPECT_TRUE(csv.Close());
    EXPECT_EQ(file.Text(),
              "time_s,dc_mv,ac_mv,marker,pulse_mv,respiration_ohm,baseline_ohm\n"
              "0.000000,0.000000,0.000000,0,0.000000,50.500000,500.000000\n"
              "0.000200,0.000000,0.000000,0,0.000000,50.750000,\n");
}

TEST(ModuleColumns, ThatComeLaterAreEmptyBefore)
{
    const TemporaryPath file;
    CsvFile csv(file.path);
    csv.Write(std::array{At(0)});
    csv.Write(std::array{OfChannel(1, 1, 100, 1)});
    csv.Write(std::array{OfChannel(2, 0, 200, 2)});
    csv.Write(std::array{Breath(3, 50, 0), At(4)});
    EXPECT_TRUE(csv.Close());
    EXPECT_EQ(file.Text(),
              "time_s,dc_mv,ac_mv,marker,pulse_mv,ppg0_dc_mv,ppg0_ac_mv,ppg1_dc_mv,ppg1_ac_mv,"
              "respiration_ohm,baseline_ohm\n"
              "0.000000,0.000000,0.000000,0,0.000000,,,,,,\n"
              "1.000000,0.000000,0.000000,0,0.000000,,,100.000000,1.000000,,\n"
              "2.000000,0.000000,0.000000,0,0.000000,200.000000,2.000000,,,,\n"
              "3.000000,0.000000,0.000000,0,0.000000,,,,,50.000000,0.000000\n"
              "4.000000,0.000000,0.000000,0,0.000000,,,,,,\n");
    EXPECT_FALSE(std::filesystem::exists(file.path + ".wide"));
}

TEST(ModuleColumns, OfAnEmptyRecordingAreNone)
{
    const TemporaryPath file;
    CsvFile csv(file.path);
    EXPECT_TRUE(csv.Close());
    EXPECT_EQ(file.Text(), "time_s,dc_mv,ac_mv,marker,pulse_mv\n");
}
