// Reads EDF and EDF+ recordings: the header, the signal headers, one signal's physical values.
//
// Stricter than the format in places (the identification fields must have the EDF+ words, a data
// record lasts whole seconds) and looser in others (the version is not looked at). No locks: an
// object belongs to one thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/File.h"

struct EdfLocalPatientIdentification {
    std::string patientCode;
    std::string sex;
    int birthDate = 0;  // yyyymmdd
    std::string patientName;
    std::vector<std::string> additionalSubFields;

    // Splits the text in place. False with fewer than four words.
    bool ParsePatientIdentificationSubFields(char* text);
};

struct EdfLocalRecordingIdentification {
    int startDate = 0;  // yyyymmdd
    std::string hospitalAdministrationCode;
    std::string technician;
    std::string equipment;
    std::vector<std::string> additionalSubFields;

    // Splits the text in place. False unless it is "startdate", in any case, and four words more.
    bool ParseRecordingIdentificationSubFields(char* text);
};

struct EdfSignal {
    int signalNumber = 0;  // from 1
    std::string label;
    std::string transducerType;
    std::string physicalDimension;
    float physicalMinimum = 0.0F;
    float physicalMaximum = 0.0F;
    float digitalMinimum = 0.0F;
    float digitalMaximum = 0.0F;
    std::string prefiltering;
    int samplesPerDataRecord = 0;

    // Physical units per digital step; infinite, or no number, for an empty digital range.
    float AmplifierGain() const;
    // In digital steps, added before the gain is applied.
    float Offset() const;
};

class EdfHeader {
public:
    static constexpr const char* EdfContinuous = "Edf+C";
    static constexpr const char* EdfDiscontinuous = "Edf+D";
    // Bytes of each field, in the order of the file.
    static constexpr int FixedLength_Version = 8;
    static constexpr int FixedLength_LocalPatientIdentification = 80;
    static constexpr int FixedLength_LocalRecordingIdentifiaction = 80;
    static constexpr int FixedLength_StartDateEdf = 8;
    static constexpr int FixedLength_StartTimeEdf = 8;
    static constexpr int FixedLength_NumberOfBytes = 8;
    static constexpr int FixedLength_Reserved = 44;
    static constexpr int FixedLength_NumberOfDataRecords = 8;
    static constexpr int FixedLength_DuraitonOfDataRecordInSeconds = 8;
    static constexpr int FixedLength_NumberOfSignalsInDataRecord = 4;

    bool isEdfPlus = false;
    std::string version;
    EdfLocalPatientIdentification patientIdentification;
    EdfLocalRecordingIdentification recordingIdentification;
    int startDate = 0;  // yyyymmdd
    int startTime = 0;  // hhmmss
    int numberOfBytes = 0;
    std::string reserved;
    int numberOfDataRecords = 0;            // negative: unknown
    int durationOfDataRecordInSeconds = 0;  // whole seconds
    int numberOfSignals = 0;
    std::vector<std::unique_ptr<EdfSignal>> signals;

    // The 256 bytes at the start of the file. False for what this reader does not accept.
    bool ParseHeader(int size, char* bytes);
    // The signal headers, 256 bytes a signal. After ParseHeader.
    bool ParseSignals(int size, char* bytes);

    // A field as text, with or without the spaces that fill it up. Valid until the thread's next
    // call.
    static const char* getFixedLengthCharArrayFromHeader(char* bytes, int length, int offset,
                                                         bool trim);
};

class EdfFile {
public:
    static constexpr int kOpened = 0;
    static constexpr int kCannotOpen = -1;
    static constexpr int kNotAccepted = -2;
    // What retrieveSignalSampleValues returns instead of a count.
    static constexpr int kNoSamples = -1;
    static constexpr int kNoMemory = -2;

    // 0, -1 when the file cannot be opened, -2 when it is short or not accepted. The file stays
    // open for the samples.
    int readFile(const char* path);

    // All samples of a signal (from 0) as physical values. Returns their number; `values` is from
    // malloc, freed by the caller. -1 for a signal that does not exist, is "EDF Annotations" or has
    // an unknown number of samples; -2 when memory is short or the header promises absurdly more
    // than the file holds. `values` is then null.
    //
    // Where the file is a little short the last sample that it holds is repeated.
    int retrieveSignalSampleValues(int signal, float*& values);

    const EdfHeader& Header() const { return header_; }

private:
    int ReadHeaders();

    EdfHeader header_;
    File file_;
};
