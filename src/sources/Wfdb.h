// Reads WFDB (MIT) records: the text header and one channel of a signal file in format 212 or 16.
//
// No locks: an object belongs to one thread.
#pragma once

#include <array>
#include <cfloat>
#include <optional>
#include <string>
#include <vector>

#include "platform/File.h"

// The lines of a header as a table: row 0 is the record line, row n the line of signal n.
class HeaFile {
public:
    static constexpr int kRows = 20;
    static constexpr int kColumns = 20;

    // True when the record line and at least one more line were accepted. Otherwise every cell is
    // absent afterwards.
    bool OpenFile(const char* path);

    // 0 when the cell is absent.
    int GetWavformlNum() const;
    int GetFormat() const;
    int GetSampleRate() const;  // Hz, truncated
    int GetSampleNum() const;   // of each signal
    int GetADCOffset() const;
    // Steps per physical unit; 200 when the header has none.
    double GetADCGain(int row) const;
    // Null when absent. Lives as long as the table.
    const char* GetSignalName(int row) const;

private:
    int ReadHeaderFileIntoArray(std::FILE* file);
    bool StoreLine(int row, const std::string& line);
    void StoreField(int row, int column, std::string field);
    const char* Cell(int row, int column) const;
    int IntegerAt(int row, int column) const;

    std::array<std::array<std::optional<std::string>, kColumns>, kRows> cells_;
};

// A signal file, read by the header that describes it.
class DatFile {
public:
    // False when the file cannot be opened or its format is neither 212 nor 16. The header must
    // outlive this object, which borrows the signals' names.
    bool OpenFile(const char* path, HeaFile& header);

    // All samples of a channel (from 0): see ReadChannelValue.
    int ReadChannel(int channel, double& maximum, double& minimum, double*& samples);

    // The samples of a channel from sample `start` on, in physical units; fewer than `count` where
    // the record ends. Returns their number. 0 when there are none, when memory is short and when
    // the header promises absurdly more than the file holds.
    //
    // `samples` is from malloc: an array that it holds is freed before the new one is allocated;
    // the caller frees that. Where the file is a little short, the last bytes that it holds are
    // repeated. `maximum` starts at the smallest positive normal number, so it stays there for a
    // channel that is never positive: deliberate.
    int ReadChannelValue(int channel, int start, int count, double& maximum, double& minimum,
                         double*& samples);

    // Folds a code above the largest positive one to its negative value.
    int Read2sCompliment(int value) const;

    int NumberOfSignals() const { return numberOfSignals_; }
    int SampleRate() const { return sampleRate_; }  // Hz
    int NumberOfSamples() const { return numberOfSamples_; }
    // Null when the header has no such line or no name.
    const char* SignalName(int channel) const;

    struct Extremes {
        double maximum = DBL_MIN;
        double minimum = DBL_MAX;
    };

private:
    template <typename Format>
    int Read(int channel, int start, int count, Extremes& extremes, double*& samples) const;
    double Gain(int channel) const;

    int numberOfSignals_ = 0;
    int sampleRate_ = 0;
    int numberOfSamples_ = 0;
    std::vector<const char*> signalNames_;
    File file_;
    int format_ = 0;
    int adcOffset_ = 0;
    std::vector<double> gains_;
    int largestPositive_ = 32767;
    int range_ = 65536;
};
