// EDF+ recordings for tests: one that the reader accepts, with every field as text, so that a test
// changes the one that it is about.
#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

struct EdfWriterSignal {
    std::string label = "ECG";
    std::string transducer = "AgAgCl";
    std::string dimension = "uV";
    std::string physicalMinimum = "-3276.8";
    std::string physicalMaximum = "3276.7";
    std::string digitalMinimum = "-32768";
    std::string digitalMaximum = "32767";
    std::string prefiltering = "HP:0.05Hz";
    std::string samplesPerRecord = "4";
};

// As many bytes as the field has; a longer text is cut.
inline std::string EdfField(std::string text, std::size_t width)
{
    text.resize(width, ' ');
    return text;
}

struct EdfWriter {
    std::string version = "0";
    std::string patient = "MCH-0234567 F 02-MAY-1951 Haagse_Harry";
    std::string recording = "Startdate 02-MAR-2002 PSG-1234/2002 NN Telemetry03";
    std::string startDate = "02.03.02";
    std::string startTime = "17.05.09";
    std::string headerBytes = "768";
    std::string reserved = "EDF+C";
    std::string records = "2";
    std::string duration = "1";
    std::string signalCount;  // empty: as many as there are
    std::vector<EdfWriterSignal> signals = {EdfWriterSignal{}};
    std::string data;  // the bytes behind the headers

    void AddSample(int digital)
    {
        const auto code = static_cast<std::uint16_t>(digital);
        data += static_cast<char>(code & 0xFF);
        data += static_cast<char>(code >> 8);
    }

    std::string FixedHeader() const
    {
        const auto count = signalCount.empty() ? std::to_string(signals.size()) : signalCount;
        return EdfField(version, 8) + EdfField(patient, 80) + EdfField(recording, 80) +
               EdfField(startDate, 8) + EdfField(startTime, 8) + EdfField(headerBytes, 8) +
               EdfField(reserved, 44) + EdfField(records, 8) + EdfField(duration, 8) +
               EdfField(count, 4);
    }

    std::string SignalHeaders() const
    {
        return Column(&EdfWriterSignal::label, 16) + Column(&EdfWriterSignal::transducer, 80) +
               Column(&EdfWriterSignal::dimension, 8) +
               Column(&EdfWriterSignal::physicalMinimum, 8) +
               Column(&EdfWriterSignal::physicalMaximum, 8) +
               Column(&EdfWriterSignal::digitalMinimum, 8) +
               Column(&EdfWriterSignal::digitalMaximum, 8) +
               Column(&EdfWriterSignal::prefiltering, 80) +
               Column(&EdfWriterSignal::samplesPerRecord, 8) +
               std::string(32 * signals.size(), ' ');
    }

    std::string Bytes() const { return FixedHeader() + SignalHeaders() + data; }

private:
    std::string Column(std::string EdfWriterSignal::*field, std::size_t width) const
    {
        std::string column;
        for (const auto& signal : signals) column += EdfField(signal.*field, width);
        return column;
    }
};

inline void WriteRecordFile(const std::string& path, const std::string& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}
