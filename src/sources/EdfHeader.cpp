#include <strings.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "sources/ParseNumber.h"
#include "sources/TextHelpers.h"
#include "sources/edfFile.h"

namespace {
constexpr int kHeaderBytes = 256;
constexpr int kSignalBytes = 256;
constexpr int kMostSignals = 256;
constexpr int kLongestField = 80;
constexpr int kMostSubFields = 64;
constexpr int kPatientSubFields = 4;
constexpr int kRecordingSubFields = 5;

// Widths of a signal's fields; the last 32 of its bytes are reserved and not read.
constexpr int kLabelBytes = 16;
constexpr int kTransducerBytes = 80;
constexpr int kNumberBytes = 8;
constexpr int kPrefilteringBytes = 80;

float Divide(float dividend, float divisor)
{
    // What the division gives where it is by zero, which C++ leaves undefined.
    if (divisor == 0.0F) {
        return dividend * std::copysign(std::numeric_limits<float>::infinity(), divisor);
    }
    return dividend / divisor;
}

// Takes the fields one after another, trimmed.
class FieldReader {
public:
    explicit FieldReader(char* bytes) : bytes_(bytes) {}

    const char* Next(int length)
    {
        const int offset = offset_;
        offset_ += length;
        return EdfHeader::getFixedLengthCharArrayFromHeader(bytes_, length, offset, true);
    }

    int NextInteger(int length) { return ReadInteger(Next(length)).value; }

    // A copy that a parser may cut up.
    char* NextToSplit(int length)
    {
        std::strcpy(copy_, Next(length));
        return copy_;
    }

private:
    char* bytes_;
    int offset_ = 0;
    char copy_[kLongestField + 1];
};

// The entries of one signal: each field is an array with an entry for every signal.
class SignalFieldReader {
public:
    SignalFieldReader(char* bytes, int signals, int index)
        : bytes_(bytes), signals_(signals), index_(index)
    {}

    const char* Next(int width)
    {
        const int offset = offset_ * signals_ + index_ * width;
        offset_ += width;
        return EdfHeader::getFixedLengthCharArrayFromHeader(bytes_, width, offset, true);
    }

    float NextFloat() { return ReadReal<float>(Next(kNumberBytes)).value; }

private:
    char* bytes_;
    int signals_;
    int index_;
    int offset_ = 0;
};

bool ParseSignal(SignalFieldReader fields, EdfSignal& signal)
{
    signal.label = fields.Next(kLabelBytes);
    signal.transducerType = fields.Next(kTransducerBytes);
    signal.physicalDimension = fields.Next(kNumberBytes);
    signal.physicalMinimum = fields.NextFloat();
    signal.physicalMaximum = fields.NextFloat();
    signal.digitalMinimum = fields.NextFloat();
    signal.digitalMaximum = fields.NextFloat();
    signal.prefiltering = fields.Next(kPrefilteringBytes);
    const char* text = fields.Next(kNumberBytes);
    const auto samples = ReadInteger(text);
    signal.samplesPerDataRecord = samples.value;
    return samples.end != text;
}
}  // namespace

bool EdfLocalPatientIdentification::ParsePatientIdentificationSubFields(char* text)
{
    char* fields[kMostSubFields];
    const int count = ParseBySpace(text, fields, kMostSubFields);
    if (count < kPatientSubFields) return false;
    patientCode = fields[0];
    sex = fields[1];
    birthDate = ParseDate(fields[2], "dd-MMM-yyyy");
    patientName = fields[3];
    additionalSubFields.assign(fields + kPatientSubFields, fields + count);
    return true;
}

bool EdfLocalRecordingIdentification::ParseRecordingIdentificationSubFields(char* text)
{
    char* fields[kMostSubFields];
    const int count = ParseBySpace(text, fields, kMostSubFields);
    if (count < kRecordingSubFields || strcasecmp(fields[0], "startdate") != 0) return false;
    startDate = ParseDate(fields[1], "dd-MMM-yyyy");
    hospitalAdministrationCode = fields[2];
    technician = fields[3];
    equipment = fields[4];
    additionalSubFields.assign(fields + kRecordingSubFields, fields + count);
    return true;
}

float EdfSignal::AmplifierGain() const
{
    return Divide(physicalMaximum - physicalMinimum, digitalMaximum - digitalMinimum);
}

float EdfSignal::Offset() const
{
    return Divide(physicalMaximum, AmplifierGain()) - digitalMaximum;
}

bool EdfHeader::ParseHeader(int size, char* bytes)
{
    if (size != kHeaderBytes || bytes == nullptr) return false;
    FieldReader fields(bytes);
    version = fields.Next(FixedLength_Version);
    if (!patientIdentification.ParsePatientIdentificationSubFields(
            fields.NextToSplit(FixedLength_LocalPatientIdentification)) ||
        !recordingIdentification.ParseRecordingIdentificationSubFields(
            fields.NextToSplit(FixedLength_LocalRecordingIdentifiaction))) {
        return false;
    }
    startDate = ParseDate(fields.NextToSplit(FixedLength_StartDateEdf), "dd.MM.yy");
    startTime = ParseTime(fields.NextToSplit(FixedLength_StartTimeEdf), "HH.mm.ss");
    numberOfBytes = fields.NextInteger(FixedLength_NumberOfBytes);
    if (numberOfBytes == 0) return false;
    reserved = fields.Next(FixedLength_Reserved);
    // One character, deliberately: the markers of both kinds of EDF+ set the flag.
    isEdfPlus = reserved[0] == EdfContinuous[0];
    numberOfDataRecords = fields.NextInteger(FixedLength_NumberOfDataRecords);
    if (numberOfDataRecords == 0) return false;
    durationOfDataRecordInSeconds = fields.NextInteger(FixedLength_DuraitonOfDataRecordInSeconds);
    if (durationOfDataRecordInSeconds == 0) return false;
    numberOfSignals = fields.NextInteger(FixedLength_NumberOfSignalsInDataRecord);
    return numberOfSignals >= 1 && numberOfSignals <= kMostSignals;
}

bool EdfHeader::ParseSignals(int size, char* bytes)
{
    signals.clear();
    if (bytes == nullptr || numberOfSignals < 1 || numberOfSignals > kMostSignals ||
        size != numberOfSignals * kSignalBytes) {
        return false;
    }
    for (int i = 0; i < numberOfSignals; ++i) {
        auto signal = std::make_unique<EdfSignal>();
        signal->signalNumber = i + 1;
        if (!ParseSignal({bytes, numberOfSignals, i}, *signal)) return false;
        signals.push_back(std::move(signal));
    }
    return true;
}

const char* EdfHeader::getFixedLengthCharArrayFromHeader(char* bytes, int length, int offset,
                                                         bool trim)
{
    static thread_local char text[kHeaderBytes + 1];
    const auto count = static_cast<std::size_t>(std::clamp(length, 0, kHeaderBytes));
    std::memcpy(text, bytes + offset, count);
    text[count] = '\0';
    if (trim) {
        for (std::size_t end = std::strlen(text); end > 0 && text[end - 1] == ' '; --end) {
            text[end - 1] = '\0';
        }
    }
    return text;
}
