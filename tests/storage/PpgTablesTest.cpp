// The PPG module's DC table and photodiode calibration at a connection.

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "device/Identification.h"
#include "support/CalibrationTables.h"
#include "support/OpenInstrument.h"
#include "vrax.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
using Words = std::vector<std::uint16_t>;

Words Row(int row) { return {std::begin(g_PPGDCTable[row]), std::end(g_PPGDCTable[row])}; }

void UseRow(int row, std::uint16_t value)
{
    for (Shared<std::uint16_t>& word : g_PPGDCTable[row]) word = value;
}

Words Identity(std::size_t count)
{
    Words words;
    for (std::size_t i = 0; i < count; ++i) words.push_back(static_cast<std::uint16_t>(i));
    return words;
}

// A freshly made module: each row falls short of the level by another part.
Words RowAsMade(int row)
{
    constexpr int kPercent[] = {96, 98, 99};
    Words words;
    for (int mv = 0; mv <= 3000; ++mv) {
        words.push_back(static_cast<std::uint16_t>(kPercent[row] * mv / 100));
    }
    return words;
}

// 1024 words of the first (0) or second (1) photodiode table.
Words Photodiode(int table)
{
    const auto* first = g_pPPGPDSamplingCalibrationData + 1024 * table;
    return {first, first + 1024};
}

Words Rising(std::uint16_t first)
{
    Words words;
    for (unsigned i = 0; i < 1024; ++i) words.push_back(static_cast<std::uint16_t>(first + i));
    return words;
}

void ProgramPhotodiode(COpenInstrument& opened, int table, const Words& words)
{
    opened.device.WriteFlash(19, table == 0 ? 1024u : 3072u, BigEndian(words));
}

void UsePhotodiode(std::uint16_t value)
{
    for (Shared<std::uint16_t>& word : g_pPPGPDSamplingCalibrationData) word = value;
}
}  // namespace

TEST(PpgDcTable, OfThe3407ModuleIsReadInHostOrder)
{
    COpenInstrument opened(0x3407u);
    LoadPPGDCTable();
    EXPECT_EQ(Row(0), RowAsMade(0));
    EXPECT_EQ(Row(1), RowAsMade(1));
    EXPECT_EQ(opened.device.Exchanges().size(), 2u * 256u);
}

// Kept: the third row is never read.
TEST(PpgDcTable, Row2StaysAsItWas)
{
    COpenInstrument opened(0x3407u);
    EXPECT_EQ(Row(2), Words(3001, 0));
    UseRow(2, 777);
    LoadPPGDCTable();
    EXPECT_EQ(Row(2), Words(3001, 777));
}

TEST(PpgDcTable, ARowWhoseLastWordIsErasedBecomesTheIdentity)
{
    COpenInstrument opened(0x3407u);
    opened.device.WriteFlash(19, 13824 + 2 * 3000, {0xFF, 0xFF});
    LoadPPGDCTable();
    EXPECT_EQ(Row(0), RowAsMade(0));
    EXPECT_EQ(Row(1), Identity(3001));
}

TEST(PpgDcTable, OtherErasedWordsAreKept)
{
    COpenInstrument opened(0x3407u);
    opened.device.WriteFlash(19, 5632, {0xFF, 0xFF});
    opened.device.WriteFlash(19, 5632 + 2 * 2999, {0xFF, 0xFF});
    LoadPPGDCTable();
    EXPECT_EQ(g_PPGDCTable[0][0], 0xFFFF);
    EXPECT_EQ(g_PPGDCTable[0][2999], 0xFFFF);
    EXPECT_EQ(g_PPGDCTable[0][3000], 2880);
}

TEST(PpgDcTable, ARowThatCannotBeReadStaysAsItWas)
{
    COpenInstrument opened(0x3407u);
    UseRow(0, 555);
    opened.device.Inject(FaultOn(Request::FlashRead, FaultKind::Silence, 200));
    LoadPPGDCTable();
    EXPECT_EQ(Row(0), Words(3001, 555));
    EXPECT_EQ(Row(1), RowAsMade(1));
}

TEST(PpgDcTable, OfAnotherModuleIsNotRead)
{
    COpenInstrument opened(0x3307u);
    UseRow(0, 555);
    LoadPPGDCTable();
    EXPECT_EQ(Row(0), Words(3001, 555));
    EXPECT_TRUE(opened.device.Exchanges().empty());
}

// Kept: the limit counts words, the copy counts bytes.
TEST(GetPpgDcTable, GivesAtMost1500WordsAndOneByte)
{
    for (int i = 0; i < 3001; ++i) g_PPGDCTable[0][i] = static_cast<std::uint16_t>(0x1234 + i);
    std::vector<unsigned char> buffer(6002, 0xEE);
    EXPECT_EQ(GetPPGDCTable(0, buffer.data(), 6002), 3001u);
    for (unsigned i = 0; i < 1500; ++i) {
        ASSERT_EQ(buffer[2 * i] | buffer[2 * i + 1] << 8, static_cast<int>(0x1234 + i));
    }
    EXPECT_EQ(buffer[3000], (0x1234 + 1500) & 0xFF);
    EXPECT_EQ(buffer[3001], 0xEE);
    EXPECT_EQ(GetPPGDCTable(0, buffer.data(), 3002), 3001u);
    EXPECT_EQ(GetPPGDCTable(0, buffer.data(), 3001), 3001u);
    EXPECT_EQ(GetPPGDCTable(0, buffer.data(), 3000), 3000u);
}

TEST(GetPpgDcTable, GivesTheBytesAskedFor)
{
    UseRow(1, 0xABCD);
    unsigned char buffer[4] = {1, 2, 3, 4};
    EXPECT_EQ(GetPPGDCTable(1, buffer, 3), 3u);
    EXPECT_EQ(buffer[0], 0xCD);
    EXPECT_EQ(buffer[1], 0xAB);
    EXPECT_EQ(buffer[2], 0xCD);
    EXPECT_EQ(buffer[3], 4);
    EXPECT_EQ(GetPPGDCTable(1, buffer, 0), 0u);
}

TEST(GetPpgDcTable, HasRows0To2)
{
    UseRow(2, 0x2222);
    unsigned char buffer[2] = {};
    EXPECT_EQ(GetPPGDCTable(2, buffer, 2), 2u);
    EXPECT_EQ(buffer[0], 0x22);
    EXPECT_EQ(GetPPGDCTable(-1, buffer, 2), 0u);
    EXPECT_EQ(GetPPGDCTable(3, buffer, 2), 0u);
    EXPECT_EQ(GetPPGDCTable(0, nullptr, 2), 0u);
}

TEST(PhotodiodeCalibration, OfOneChannelReadsOneTable)
{
    COpenInstrument opened(0x3307u);
    UsePhotodiode(5);
    LoadPPGPDSamplingCalibrationData();
    EXPECT_EQ(Photodiode(0), Rising(1));
    EXPECT_EQ(Photodiode(1), Words(1024, 5));
    EXPECT_EQ(opened.device.Exchanges().size(), 64u);
}

TEST(PhotodiodeCalibration, OfTwoChannelsReadsBothTables)
{
    COpenInstrument opened(0x3407u);
    LoadPPGPDSamplingCalibrationData();
    EXPECT_EQ(Photodiode(0), Rising(1));
    EXPECT_EQ(Photodiode(1), Rising(2));
    EXPECT_EQ(opened.device.Exchanges().at(0).request, ReadRequest(19, 1024, 32));
    EXPECT_EQ(opened.device.Exchanges().at(64).request, ReadRequest(19, 3072, 32));
}

TEST(PhotodiodeCalibration, WithoutAModuleReadsNothing)
{
    COpenInstrument opened;
    UsePhotodiode(5);
    LoadPPGPDSamplingCalibrationData();
    EXPECT_EQ(Photodiode(0), Words(1024, 5));
    EXPECT_TRUE(opened.device.Exchanges().empty());
}

TEST(PhotodiodeCalibration, OfTheRespirationModuleReadsNothing)
{
    instrument::Options options;
    options.respirationModule = true;
    COpenInstrument opened(options);
    LoadPPGPDSamplingCalibrationData();
    EXPECT_TRUE(opened.device.Exchanges().empty());
}

TEST(PhotodiodeCalibration, TheFirstTableIsTestedAtItsFirstAndLastWord)
{
    struct Case {
        std::size_t word;
        std::uint16_t value;
        bool isReplaced;
    };
    for (const Case& test : {Case{0, 0xFFFF, true}, Case{1023, 0, true}, Case{1, 0xFFFF, false},
                             Case{1023, 0xFFFF, false}, Case{0, 0, false}}) {
        COpenInstrument opened(0x3307u);
        Words words = Rising(1);
        words[test.word] = test.value;
        ProgramPhotodiode(opened, 0, words);
        LoadPPGPDSamplingCalibrationData();
        EXPECT_EQ(Photodiode(0), test.isReplaced ? Identity(1024) : words)
            << "word " << test.word << " = " << test.value;
    }
}

// Kept: the second table is tested at its second word.
TEST(PhotodiodeCalibration, TheSecondTableIsTestedAtItsSecondAndLastWord)
{
    struct Case {
        std::size_t word;
        std::uint16_t value;
        bool isReplaced;
    };
    for (const Case& test : {Case{1, 0xFFFF, true}, Case{1023, 0, true}, Case{0, 0xFFFF, false},
                             Case{1023, 0xFFFF, false}, Case{1, 0, false}}) {
        COpenInstrument opened(0x3407u);
        Words words = Rising(2);
        words[test.word] = test.value;
        ProgramPhotodiode(opened, 1, words);
        LoadPPGPDSamplingCalibrationData();
        EXPECT_EQ(Photodiode(0), Rising(1));
        EXPECT_EQ(Photodiode(1), test.isReplaced ? Identity(1024) : words)
            << "word " << 1024 + test.word << " = " << test.value;
    }
}

TEST(PhotodiodeCalibration, ATableThatCannotBeReadBecomesTheIdentity)
{
    COpenInstrument opened(0x3407u);
    opened.device.Inject(FaultOn(Request::FlashRead, FaultKind::Silence, 3));
    LoadPPGPDSamplingCalibrationData();
    EXPECT_EQ(Photodiode(0), Identity(1024));
    EXPECT_EQ(Photodiode(1), Rising(2));
}
