// What the EDF reader takes from the headers, and which files it refuses.

#include <gtest/gtest.h>

#include <clocale>
#include <functional>

#include "sources/edfFile.h"
#include "support/CommaLocale.h"
#include "support/Descriptors.h"
#include "support/EdfWriter.h"
#include "support/TempDir.h"

namespace {
class EdfHeaderFile : public testing::Test {
protected:
    int Read(const std::string& bytes)
    {
        WriteRecordFile(path_, bytes);
        return file_.readFile(path_.c_str());
    }

    // The result for the usual recording with one field changed.
    int ReadWith(std::string EdfWriter::*field, const std::string& text)
    {
        EdfWriter writer;
        writer.*field = text;
        return Read(writer.Bytes());
    }

    int ReadWith(std::string EdfWriterSignal::*field, const std::string& text)
    {
        EdfWriter writer;
        writer.signals[0].*field = text;
        return Read(writer.Bytes());
    }

    const EdfHeader& Header() const { return file_.Header(); }
    const EdfSignal& Signal(std::size_t index) const { return *file_.Header().signals[index]; }

    TempDir dir_;
    std::string path_ = dir_.File("recording.edf");
    EdfFile file_;
};

TEST_F(EdfHeaderFile, HasFieldsOf256Bytes)
{
    EXPECT_EQ(EdfHeader::FixedLength_Version, 8);
    EXPECT_EQ(EdfHeader::FixedLength_LocalPatientIdentification, 80);
    EXPECT_EQ(EdfHeader::FixedLength_LocalRecordingIdentifiaction, 80);
    EXPECT_EQ(EdfHeader::FixedLength_StartDateEdf, 8);
    EXPECT_EQ(EdfHeader::FixedLength_StartTimeEdf, 8);
    EXPECT_EQ(EdfHeader::FixedLength_NumberOfBytes, 8);
    EXPECT_EQ(EdfHeader::FixedLength_Reserved, 44);
    EXPECT_EQ(EdfHeader::FixedLength_NumberOfDataRecords, 8);
    EXPECT_EQ(EdfHeader::FixedLength_DuraitonOfDataRecordInSeconds, 8);
    EXPECT_EQ(EdfHeader::FixedLength_NumberOfSignalsInDataRecord, 4);
    EXPECT_STREQ(EdfHeader::EdfContinuous, "Edf+C");
    EXPECT_STREQ(EdfHeader::EdfDiscontinuous, "Edf+D");
}

TEST_F(EdfHeaderFile, KeepsEveryFieldOfTheFixedHeader)
{
    EXPECT_FALSE(Header().isEdfPlus);
    EdfWriter writer;
    writer.patient += " left-handed smoker";
    writer.recording += " night 2";
    ASSERT_EQ(Read(writer.Bytes()), 0);
    EXPECT_EQ(Header().version, "0");
    const auto& patient = Header().patientIdentification;
    EXPECT_EQ(patient.patientCode, "MCH-0234567");
    EXPECT_EQ(patient.sex, "F");
    EXPECT_EQ(patient.birthDate, 19510502);
    EXPECT_EQ(patient.patientName, "Haagse_Harry");
    EXPECT_EQ(patient.additionalSubFields, (std::vector<std::string>{"left-handed", "smoker"}));
    const auto& recording = Header().recordingIdentification;
    EXPECT_EQ(recording.startDate, 20020302);
    EXPECT_EQ(recording.hospitalAdministrationCode, "PSG-1234/2002");
    EXPECT_EQ(recording.technician, "NN");
    EXPECT_EQ(recording.equipment, "Telemetry03");
    EXPECT_EQ(recording.additionalSubFields, (std::vector<std::string>{"night", "2"}));
    EXPECT_EQ(Header().startDate, 20020302);
    EXPECT_EQ(Header().startTime, 170509);
    EXPECT_EQ(Header().numberOfBytes, 768);
    EXPECT_EQ(Header().reserved, "EDF+C");
    EXPECT_TRUE(Header().isEdfPlus);
    EXPECT_EQ(Header().numberOfDataRecords, 2);
    EXPECT_EQ(Header().durationOfDataRecordInSeconds, 1);
    EXPECT_EQ(Header().numberOfSignals, 1);
}

TEST_F(EdfHeaderFile, KeepsEveryFieldOfEverySignal)
{
    EdfWriter writer;
    writer.signals.push_back({"Resp", "belt", "mV", "-1.5", "2e2", "-100", "+99", "LP:5Hz", "25"});
    writer.signals.push_back({"Exactly16letters", "", "", "0", "1", "0", "1", "", "  7x"});
    ASSERT_EQ(Read(writer.Bytes()), 0);
    ASSERT_EQ(Header().signals.size(), 3u);
    EXPECT_EQ(Signal(0).label, "ECG");
    EXPECT_EQ(Signal(0).physicalMinimum, -3276.8F);
    const EdfSignal& signal = Signal(1);
    EXPECT_EQ(signal.signalNumber, 2);
    EXPECT_EQ(signal.label, "Resp");
    EXPECT_EQ(signal.transducerType, "belt");
    EXPECT_EQ(signal.physicalDimension, "mV");
    EXPECT_EQ(signal.physicalMinimum, -1.5F);
    EXPECT_EQ(signal.physicalMaximum, 200.0F);
    EXPECT_EQ(signal.digitalMinimum, -100.0F);
    EXPECT_EQ(signal.digitalMaximum, 99.0F);
    EXPECT_EQ(signal.prefiltering, "LP:5Hz");
    EXPECT_EQ(signal.samplesPerDataRecord, 25);
    EXPECT_EQ(Signal(2).signalNumber, 3);
    EXPECT_EQ(Signal(2).label, "Exactly16letters");
    EXPECT_EQ(Signal(2).samplesPerDataRecord, 7);
}

TEST_F(EdfHeaderFile, DoesNotLookAtTheVersion)
{
    EXPECT_EQ(ReadWith(&EdfWriter::version,
                       "\xFF"
                       "BIOSEMI"),
              0);
    EXPECT_EQ(ReadWith(&EdfWriter::version, ""), 0);
}

TEST_F(EdfHeaderFile, NeedsFourWordsOfThePatient)
{
    EXPECT_EQ(ReadWith(&EdfWriter::patient, "X X X X"), 0);
    EXPECT_EQ(Header().patientIdentification.birthDate, 20110101);
    EXPECT_EQ(ReadWith(&EdfWriter::patient, "  X\tX  X   X"), 0);
    for (const char* text : {"", "Default patient", "X X X"}) {
        EXPECT_EQ(ReadWith(&EdfWriter::patient, text), -2) << text;
    }
}

TEST_F(EdfHeaderFile, TakesFortyWordsOfThePatient)
{
    std::string words;
    for (int i = 0; i < 40; ++i) words += "w ";
    ASSERT_EQ(ReadWith(&EdfWriter::patient, words), 0);
    EXPECT_EQ(Header().patientIdentification.additionalSubFields.size(), 36u);
}

TEST_F(EdfHeaderFile, NeedsStartdateAndFourWordsOfTheRecording)
{
    for (const char* first : {"Startdate", "STARTDATE", "startdate", "sTaRtDaTe"}) {
        EXPECT_EQ(ReadWith(&EdfWriter::recording, std::string(first) + " X X X X"), 0) << first;
    }
    EXPECT_EQ(Header().recordingIdentification.startDate, 20110101);
    for (const char* text : {"", "Default record", "Startdate X X X", "Startdat X X X X",
                             "Startdates X X X X", "X Startdate X X X"}) {
        EXPECT_EQ(ReadWith(&EdfWriter::recording, text), -2) << text;
    }
}

TEST_F(EdfHeaderFile, TakesADateOrTimeThatCannotBeRead)
{
    ASSERT_EQ(ReadWith(&EdfWriter::startDate, "02/03/02"), 0);
    EXPECT_EQ(Header().startDate, 20110101);
    ASSERT_EQ(ReadWith(&EdfWriter::startDate, "05.03.81"), 0);
    EXPECT_EQ(Header().startDate, 19810305);
    ASSERT_EQ(ReadWith(&EdfWriter::startTime, "noon"), 0);
    EXPECT_EQ(Header().startTime, 0);
}

TEST_F(EdfHeaderFile, NeedsANumberOfHeaderBytesThatIsNotZero)
{
    EXPECT_EQ(ReadWith(&EdfWriter::headerBytes, "1"), 0);  // and makes no use of it
    EXPECT_EQ(ReadWith(&EdfWriter::headerBytes, "-5"), 0);
    for (const char* text : {"0", "", "many", "0.9"}) {
        EXPECT_EQ(ReadWith(&EdfWriter::headerBytes, text), -2) << text;
    }
}

TEST_F(EdfHeaderFile, IsEdfPlusWhenTheReservedFieldBeginsWithACapitalE)
{
    for (const char* text : {"EDF+C", "EDF+D", "Edf", "E", "Else"}) {
        ASSERT_EQ(ReadWith(&EdfWriter::reserved, text), 0);
        EXPECT_TRUE(Header().isEdfPlus) << text;
    }
    for (const char* text : {"", "edf+c", " EDF+C", "24BIT"}) {
        ASSERT_EQ(ReadWith(&EdfWriter::reserved, text), 0);
        EXPECT_FALSE(Header().isEdfPlus) << text;
    }
}

TEST_F(EdfHeaderFile, NeedsANumberOfDataRecordsThatIsNotZero)
{
    ASSERT_EQ(ReadWith(&EdfWriter::records, "-1"), 0);
    EXPECT_EQ(Header().numberOfDataRecords, -1);
    for (const char* text : {"0", "", "x1"}) {
        EXPECT_EQ(ReadWith(&EdfWriter::records, text), -2) << text;
    }
}

TEST_F(EdfHeaderFile, NeedsADurationOfAtLeastOneSecond)
{
    ASSERT_EQ(ReadWith(&EdfWriter::duration, "1.9"), 0);
    EXPECT_EQ(Header().durationOfDataRecordInSeconds, 1);
    for (const char* text : {"0", "0.5", ".5", "", "s"}) {
        EXPECT_EQ(ReadWith(&EdfWriter::duration, text), -2) << text;
    }
}

TEST_F(EdfHeaderFile, NeedsOneTo256Signals)
{
    EdfWriter writer;
    writer.signals.resize(256);
    EXPECT_EQ(Read(writer.Bytes()), 0);
    EXPECT_EQ(Header().signals.size(), 256u);
    writer.signals.resize(257);
    EXPECT_EQ(Read(writer.Bytes()), -2);
    for (const char* text : {"0", "-1", " ", "9999"}) {
        EXPECT_EQ(ReadWith(&EdfWriter::signalCount, text), -2) << text;
    }
}

TEST_F(EdfHeaderFile, TakesAScalingNumberThatCannotBeReadAsZero)
{
    ASSERT_EQ(ReadWith(&EdfWriterSignal::physicalMinimum, "low"), 0);
    EXPECT_EQ(Signal(0).physicalMinimum, 0.0F);
    ASSERT_EQ(ReadWith(&EdfWriterSignal::digitalMaximum, ""), 0);
    EXPECT_EQ(Signal(0).digitalMaximum, 0.0F);
    ASSERT_EQ(ReadWith(&EdfWriterSignal::physicalMaximum, "12.5uV"), 0);
    EXPECT_EQ(Signal(0).physicalMaximum, 12.5F);
}

TEST_F(EdfHeaderFile, NeedsANumberOfSamplesPerRecord)
{
    for (const char* text : {"", "many", "-", ".5"}) {
        EXPECT_EQ(ReadWith(&EdfWriterSignal::samplesPerRecord, text), -2) << text;
    }
    for (const char* text : {"0", "-4", "+4", "4.5"}) {
        EXPECT_EQ(ReadWith(&EdfWriterSignal::samplesPerRecord, text), 0) << text;
    }
}

TEST_F(EdfHeaderFile, EndsATextAtANul)
{
    EdfWriter writer;
    writer.signals[0].label = std::string("ECG \0 II", 8);
    writer.patient[1] = '\0';  // one word is left
    EXPECT_EQ(Read(writer.Bytes()), -2);
    writer.patient = "X X X X" + std::string(73, '\0');
    ASSERT_EQ(Read(writer.Bytes()), 0);
    EXPECT_EQ(Signal(0).label, "ECG");
    EXPECT_EQ(Header().patientIdentification.patientName, "X");
}

TEST_F(EdfHeaderFile, IsRefusedWhenItIsShort)
{
    EdfWriter writer;
    writer.signals.resize(2);
    const std::string bytes = writer.Bytes();
    for (const std::size_t size : {0, 1, 255, 256, 257, 511, 767}) {
        EXPECT_EQ(Read(bytes.substr(0, size)), -2) << size;
    }
    EXPECT_EQ(Read(bytes.substr(0, 768)), 0);
}

TEST_F(EdfHeaderFile, IsNotOpenedWhenItIsNotThere)
{
    EXPECT_EQ(file_.readFile(nullptr), -1);
    EXPECT_EQ(file_.readFile(""), -1);
    EXPECT_EQ(file_.readFile(dir_.File("absent.edf").c_str()), -1);
    EXPECT_EQ(file_.readFile(dir_.Path().c_str()), -2);  // a folder opens, and holds no bytes
}

TEST_F(EdfHeaderFile, StaysOpenOnlyWhenItIsAccepted)
{
    const auto before = CountDescriptors();
    {
        EdfFile file;
        WriteRecordFile(path_, EdfWriter().Bytes());
        ASSERT_EQ(file.readFile(path_.c_str()), 0);
        ASSERT_EQ(file.readFile(path_.c_str()), 0);
        EXPECT_EQ(CountDescriptors(), before + 1);
    }
    EXPECT_EQ(CountDescriptors(), before);
    EXPECT_EQ(Read("short"), -2);
    EXPECT_EQ(CountDescriptors(), before);
}

TEST_F(EdfHeaderFile, IsForgottenWhenAnotherIsRead)
{
    EdfWriter writer;
    writer.signals.resize(3);
    writer.patient += " more";
    ASSERT_EQ(Read(writer.Bytes()), 0);
    ASSERT_EQ(Read(EdfWriter().Bytes()), 0);
    EXPECT_EQ(Header().signals.size(), 1u);
    EXPECT_TRUE(Header().patientIdentification.additionalSubFields.empty());
    ASSERT_EQ(Read("short"), -2);
    EXPECT_TRUE(Header().signals.empty());
    EXPECT_FALSE(Header().isEdfPlus);
}

TEST(EdfHeaderBytes, HaveOneSize)
{
    EdfHeader header;
    std::string fixed = EdfWriter().FixedHeader();
    std::string signals = EdfWriter().SignalHeaders();
    EXPECT_FALSE(header.ParseHeader(255, fixed.data()));
    EXPECT_FALSE(header.ParseHeader(512, fixed.data()));
    EXPECT_FALSE(header.ParseHeader(256, nullptr));
    EXPECT_FALSE(header.ParseSignals(256, signals.data()));  // no header yet
    ASSERT_TRUE(header.ParseHeader(256, fixed.data()));
    EXPECT_FALSE(header.ParseSignals(255, signals.data()));
    EXPECT_FALSE(header.ParseSignals(512, signals.data()));
    EXPECT_FALSE(header.ParseSignals(256, nullptr));
    EXPECT_TRUE(header.ParseSignals(256, signals.data()));
}

TEST(EdfField, IsTrimmedWhenAsked)
{
    char bytes[] = "abc  d   ";
    const auto field = EdfHeader::getFixedLengthCharArrayFromHeader;
    EXPECT_STREQ(field(bytes, 5, 0, true), "abc");
    EXPECT_STREQ(field(bytes, 5, 0, false), "abc  ");
    EXPECT_STREQ(field(bytes, 6, 3, true), "  d");
    EXPECT_STREQ(field(bytes, 2, 3, true), "");
    EXPECT_STREQ(field(bytes, 0, 0, false), "");
    const char* first = field(bytes, 3, 0, true);
    field(bytes, 1, 5, true);
    EXPECT_STREQ(first, "d");  // one buffer for all of them
    EXPECT_STREQ(bytes, "abc  d   ");
}

class EdfHeaderInCommaLocale : public CommaLocale {};

TEST_F(EdfHeaderInCommaLocale, ReadsNumbersWithAPoint)
{
    ASSERT_EQ(HalfByPrintf(), "0,5");
    const std::string path = dir_.File("recording.edf");
    WriteRecordFile(path, EdfWriter().Bytes());
    EdfFile file;
    ASSERT_EQ(file.readFile(path.c_str()), 0);
    EXPECT_EQ(file.Header().signals[0]->physicalMaximum, 3276.7F);
}
}  // namespace
