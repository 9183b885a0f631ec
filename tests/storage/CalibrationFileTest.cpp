// The calibration file, its cache and the table's defaults; no instrument.

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "support/CalibrationTables.h"
#include "support/Descriptors.h"
#include "vrax.h"

namespace {
constexpr char kUnwritable[] = "/proc/";  // nobody makes a file there

Bytes Short(Bytes bytes)
{
    bytes.resize(8000);
    return bytes;
}
}  // namespace

TEST(DefaultTable, RisesFromMinusToPlusOneVolt)
{
    _SetECGDCDefaultCalibrationData();
    EXPECT_EQ(TableInUse(), DefaultTable());
    EXPECT_EQ(g_ECGDCVariableCalibrationData[999], 0);
    EXPECT_EQ(g_ECGDCVariableCalibrationData[1000], 0);
    EXPECT_EQ(g_ECGDCVariableCalibrationData[1001], 32);
    EXPECT_EQ(g_ECGDCVariableCalibrationData[2000], 32767);
    EXPECT_EQ(g_ECGDCVariableCalibrationData[3000], 65535);
    EXPECT_EQ(g_ECGDCVariableCalibrationData[3001], 65535);
}

TEST(Validation, LooksFromMinusToPlusHalfAVolt)
{
    for (const std::size_t outside : {0u, 1499u, 2501u, 4000u}) {
        UseTable(RisingTable(1));
        g_ECGDCVariableCalibrationData[outside] = std::uint16_t{0xFFFF};
        EXPECT_TRUE(ValidateDCCalibrationData()) << outside;
    }
    for (const std::size_t inside : {1500u, 2000u, 2500u}) {
        UseTable(RisingTable(1));
        g_ECGDCVariableCalibrationData[inside] = std::uint16_t{0xFFFF};
        EXPECT_FALSE(ValidateDCCalibrationData()) << inside;
    }
}

TEST(CalibrationFile, Has4001LittleEndianWordsAndNothingElse)
{
    const CCalibrationFolder folder;
    UseTable(RisingTable(3));
    EXPECT_EQ(SaveCalibrationData(folder.Prefix().c_str()), 0);
    EXPECT_EQ(folder.FileBytes().size(), 8002u);
    EXPECT_EQ(folder.FileBytes(), LittleEndian(RisingTable(3)));
}

TEST(CalibrationFile, IsReplacedWhole)
{
    const CCalibrationFolder folder;
    folder.WriteFile(Bytes(20000, 7));
    UseTable(RisingTable(3));
    EXPECT_EQ(SaveCalibrationData(folder.Prefix().c_str()), 0);
    EXPECT_EQ(folder.FileBytes(), LittleEndian(RisingTable(3)));
}

TEST(CalibrationFile, ThatCannotBeOpenedGivesMinus1)
{
    const auto before = CountDescriptors();
    EXPECT_EQ(SaveCalibrationData(kUnwritable), -1);
    EXPECT_EQ(SaveCalibrationData("/no such folder/"), -1);
    EXPECT_EQ(SaveCalibrationData(nullptr), -1);
    EXPECT_EQ(CountDescriptors(), before);
}

TEST(CalibrationFile, NameFollowsTheFolderWithoutASeparator)
{
    const TempDir folder;
    UseTable(RisingTable(3));
    EXPECT_EQ(SaveCalibrationData(folder.File("unit7-").c_str()), 0);
    EXPECT_EQ(ReadWholeFile(folder.File("unit7-calibration.dat")).size(), 8002u);
}

TEST(CalibrationFile, FolderMayHaveAnyLength)
{
    const TempDir base;
    std::string folder = base.Path() + "/";
    for (const char letter : {'a', 'b', 'c'}) folder += std::string(200, letter) + "/";
    ASSERT_TRUE(std::filesystem::create_directories(folder));
    UseTable(RisingTable(3));
    EXPECT_EQ(SaveCalibrationData(folder.c_str()), 0);
    EXPECT_EQ(ReadWholeFile(folder + "calibration.dat").size(), 8002u);
}

TEST(CalibrationFile, ItsPrefixIsCutTo511Characters)
{
    const TempDir base;
    const std::string folder =
        base.Path() + "/" + std::string(200, 'a') + "/" + std::string(130, 'b') + "/";
    ASSERT_TRUE(std::filesystem::create_directories(folder));
    const std::string longPrefix = folder + std::string(600, 'c');
    const std::string cut = longPrefix.substr(0, 511);
    ASSERT_LE(cut.size() - folder.size() + 15, 255u);  // still a file name
    SetCalibrationDataPath(longPrefix.c_str());
    UseTable(RisingTable(3));
    ASSERT_EQ(SaveCalibrationData(cut.c_str()), 0);
    UseTable(RisingTable(0));
    EXPECT_EQ(LoadCalibrationData(), 0);
    EXPECT_EQ(TableInUse(), RisingTable(3));
}

TEST(CalibrationFile, IsLoadedIntoTheTable)
{
    const CCalibrationFolder folder;
    folder.WriteFile(LittleEndian(RisingTable(5)));
    EXPECT_EQ(LoadCalibrationData(), 0);
    EXPECT_EQ(TableInUse(), RisingTable(5));
}

TEST(CalibrationFile, WithMoreThanTheTableIsLoadedAsFarAsItGoes)
{
    const CCalibrationFolder folder;
    Bytes bytes = LittleEndian(RisingTable(5));
    bytes.resize(9000, 1);
    folder.WriteFile(bytes);
    EXPECT_EQ(LoadCalibrationData(), 0);
    EXPECT_EQ(TableInUse(), RisingTable(5));
}

TEST(CalibrationFile, OfErasedWordsIsTakenAsItIs)
{
    const CCalibrationFolder folder;
    folder.WriteFile(Bytes(8002, 0xFF));
    EXPECT_EQ(LoadCalibrationData(), 0);
    EXPECT_EQ(TableInUse(), CalibrationWords(4001, 0xFFFF));
}

TEST(CalibrationFile, ThatIsShortOrMissingLeavesTheTable)
{
    const CCalibrationFolder folder;
    UseTable(RisingTable(3));
    EXPECT_EQ(LoadCalibrationData(), -1);
    folder.WriteFile(Short(LittleEndian(RisingTable(5))));
    EXPECT_EQ(LoadCalibrationData(), -1);
    Bytes almost = LittleEndian(RisingTable(5));
    almost.pop_back();
    folder.WriteFile(almost);
    EXPECT_EQ(LoadCalibrationData(), -1);
    EXPECT_EQ(TableInUse(), RisingTable(3));
}

// Kept: it is the value 255 that is looked for, not the erased word.
TEST(CalibrationFile, WithAWord255BetweenMinusAndPlusAVoltGivesTheDefault)
{
    const CCalibrationFolder folder;
    for (const std::size_t at : {1000u, 1500u, 2999u}) {
        CalibrationWords words = RisingTable(5);
        words[at] = 255;
        folder.WriteFile(LittleEndian(words));
        UseTable(RisingTable(3));
        EXPECT_EQ(LoadCalibrationData(), -1) << at;
        EXPECT_EQ(TableInUse(), DefaultTable()) << at;
    }
}

TEST(CalibrationFile, WithAWord255OutsideIsLoaded)
{
    const CCalibrationFolder folder;
    for (const std::size_t at : {0u, 999u, 3000u, 4000u}) {
        CalibrationWords words = RisingTable(5);
        words[at] = 255;
        folder.WriteFile(LittleEndian(words));
        EXPECT_EQ(LoadCalibrationData(), 0) << at;
        EXPECT_EQ(TableInUse(), words) << at;
    }
}

TEST(CalibrationCache, HoldsTheFileAsLastRead)
{
    const CCalibrationFolder folder;
    folder.WriteFile(LittleEndian(RisingTable(5)));
    int count = 0;
    const unsigned short* cache = GetCalibrationCache(&count);
    ASSERT_NE(cache, nullptr);
    EXPECT_EQ(count, 4001);
    EXPECT_EQ(CalibrationWords(cache, cache + 4001), RisingTable(5));

    folder.WriteFile(LittleEndian(RisingTable(9)));
    cache = GetCalibrationCache(&count);
    ASSERT_NE(cache, nullptr);
    EXPECT_EQ(cache[0], 9);
    ClearCalibrationCache();
}

TEST(CalibrationCache, OfAMissingOrShortFileIsNull)
{
    const CCalibrationFolder folder;
    int count = 77;
    EXPECT_EQ(GetCalibrationCache(&count), nullptr);
    EXPECT_EQ(count, 0);
    folder.WriteFile(Short(LittleEndian(RisingTable(5))));
    count = 77;
    EXPECT_EQ(GetCalibrationCache(&count), nullptr);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(GetCalibrationCache(nullptr), nullptr);
}

TEST(CalibrationCache, DoesNotTouchTheTable)
{
    const CCalibrationFolder folder;
    folder.WriteFile(LittleEndian(RisingTable(5)));
    UseTable(RisingTable(3));
    int count = 0;
    GetCalibrationCache(&count);
    EXPECT_EQ(TableInUse(), RisingTable(3));
    ClearCalibrationCache();
}

TEST(CalibrationCache, WithoutAPrefixIsReadFromTheWorkingDirectory)
{
    const CCalibrationFolder folder;
    folder.WriteFile(LittleEndian(RisingTable(5)));
    for (const char* none : {static_cast<const char*>(nullptr), ""}) {
        SetCalibrationDataPath(folder.Prefix().c_str());
        SetCalibrationDataPath(none);
        std::filesystem::current_path(folder.Prefix());
        int count = 0;
        EXPECT_NE(GetCalibrationCache(&count), nullptr);
        EXPECT_EQ(count, 4001);
        CalibrationWords copy(4001, 0x77);
        EXPECT_EQ(GetCalibrationCacheEx(copy.data(), 4001), 0);
        EXPECT_EQ(copy, CalibrationWords(4001, 0x77));
        std::filesystem::current_path("/");
    }
}

TEST(CalibrationCache, IsCopiedIntoABufferOf4001Words)
{
    const CCalibrationFolder folder;
    folder.WriteFile(LittleEndian(RisingTable(5)));
    CalibrationWords copy(4002, 0x77);
    EXPECT_EQ(GetCalibrationCacheEx(copy.data(), 4000), 0);
    EXPECT_EQ(copy[0], 0x77);
    EXPECT_EQ(GetCalibrationCacheEx(copy.data(), 4001), 4001);
    EXPECT_EQ(copy[4001], 0x77);
    copy.pop_back();
    EXPECT_EQ(copy, RisingTable(5));
    EXPECT_EQ(GetCalibrationCacheEx(nullptr, 4001), 0);
}

TEST(CalibrationCache, IsNotCopiedFromAMissingOrShortFile)
{
    const CCalibrationFolder folder;
    CalibrationWords copy(4001, 0x77);
    EXPECT_EQ(GetCalibrationCacheEx(copy.data(), 4001), 0);
    folder.WriteFile(Short(LittleEndian(RisingTable(5))));
    EXPECT_EQ(GetCalibrationCacheEx(copy.data(), 4001), 0);
    EXPECT_EQ(copy, CalibrationWords(4001, 0x77));
}

TEST(CalibrationCache, ClearingDeletesTheFile)
{
    const CCalibrationFolder folder;
    folder.WriteFile(LittleEndian(RisingTable(5)));
    EXPECT_EQ(ClearCalibrationCache(), 0);
    EXPECT_FALSE(folder.HasFile());
    EXPECT_EQ(ClearCalibrationCache(), -1);
}

TEST(CalibrationCache, KeepsNoDescriptor)
{
    const CCalibrationFolder folder;
    folder.WriteFile(LittleEndian(RisingTable(5)));
    const auto before = CountDescriptors();
    CalibrationWords copy(4001);
    for (int i = 0; i < 10; ++i) {
        int count = 0;
        GetCalibrationCache(&count);
        GetCalibrationCacheEx(copy.data(), 4001);
        LoadCalibrationData();
        SaveCalibrationData(folder.Prefix().c_str());
    }
    EXPECT_EQ(CountDescriptors(), before);
}

TEST(CalibrationDump, HasOneDecimalWordALine)
{
    const TempDir folder;
    UseTable(DefaultTable());
    const std::string path = folder.File("dump.txt");
    std::ofstream(path) << std::string(100000, 'x');
    _outputECGDCVariableCalibrationData(path.c_str());
    std::ostringstream expected;
    for (const std::uint16_t word : DefaultTable()) expected << word << '\n';
    EXPECT_EQ(ReadWholeFile(path), expected.str());
    _outputECGDCVariableCalibrationData("/no such folder/dump.txt");
    EXPECT_FALSE(std::filesystem::exists("/no such folder"));
}
