#include "RecordKind.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string_view>

#include <fmt/format.h>

#include "Failure.h"
#include "RecordLines.h"

namespace vrax {

namespace {

constexpr std::size_t kLookedAt = 4096;
constexpr std::size_t kEdfRecordingOffset = 88;
constexpr std::size_t kEdfHeaderBytes = std::size_t{256} * 257;
constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();

struct KindNames {
    const char* word;
    const char* name;
};
constexpr KindNames kNames[] = {
    {"text", "text record"},          {"binary", "binary record"},
    {"aha-text", "AHA text record"},  {"aha-binary", "AHA binary record"},
    {"edf", "EDF or EDF+ recording"}, {"wfdb", "WFDB record"},
    {"fpga", "FPGA image"},           {"mcu", "MCU image"},
};

std::int64_t FileBytes(const std::string& path)
{
    std::error_code error;
    const auto bytes = std::filesystem::file_size(path, error);
    return error ? -1 : static_cast<std::int64_t>(bytes);
}

// The first `most` bytes.
std::string ReadStart(const std::string& path, std::size_t most)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) {
        throw Failure(path + " is a directory", "name a file");
    }
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw Failure(path + " cannot be read: " + std::strerror(errno),
                      "check the name and its permissions");
    const auto bytes = static_cast<std::size_t>(std::max<std::int64_t>(FileBytes(path), 0));
    std::string start(std::min(most, bytes), '\0');
    file.read(start.data(), static_cast<std::streamsize>(start.size()));
    start.resize(static_cast<std::size_t>(file.gcount()));
    return start;
}

bool BeginsWith(std::string_view text, const char* word)
{
    const std::size_t length = std::strlen(word);
    return text.size() >= length && strncasecmp(text.data(), word, length) == 0;
}

bool HasExtension(const std::string& path, const char* extension)
{
    return strcasecmp(std::filesystem::path(path).extension().c_str(), extension) == 0;
}

bool IsText(std::string_view start)
{
    return std::all_of(start.begin(), start.end(), [](char character) {
        const auto code = static_cast<unsigned char>(character);
        return code >= 0x20 || (code >= '\t' && code <= '\r');
    });
}

bool IsEdf(std::string_view start)
{
    const bool hasRecording = start.size() > kEdfRecordingOffset &&
                              BeginsWith(start.substr(kEdfRecordingOffset), "startdate");
    return hasRecording ||
           (start.size() >= 256 && start.starts_with("0       ") && IsText(start.substr(0, 256)));
}

// AHA text has two fields on every line, the library's text a number alone on its first three.
bool HasTwoFields(std::string_view start)
{
    RecordLines lines(start, start.size() + 1);
    RecordLine line;
    while (lines.Next(line)) {
        const std::size_t from = line.text.find_first_not_of(", \t");
        if (from == line.text.npos) continue;
        const std::string_view text = line.text.substr(from);
        const std::size_t gap = text.find_first_of(", ");
        return gap != text.npos && text.find_first_not_of(", \t", gap) != text.npos;
    }
    return false;
}

// The file beside it with another extension.
std::string Sibling(const std::string& path, const char* extension)
{
    return std::filesystem::path(path).replace_extension(extension).string();
}

// The signal file that the header names, where it is there, else the one of the same name.
std::string SignalFileOf(const std::string& headerPath)
{
    const std::string header = ReadStart(headerPath, kAll);
    RecordLines lines(header, header.size() + 1);
    RecordLine line;
    for (int row = 0; lines.Next(line);) {
        if (line.text.empty() || line.text.front() == '#' || row++ == 0) continue;
        const std::string name(line.text.substr(0, line.text.find(' ')));
        const auto path = std::filesystem::path(headerPath).replace_filename(name);
        std::error_code ignored;
        if (!name.empty() && std::filesystem::is_regular_file(path, ignored)) return path.string();
        break;
    }
    return Sibling(headerPath, ".dat");
}

Record MakeRecord(RecordKind kind, const std::string& why, const std::string& path)
{
    Record record{kind, why, path, ""};
    if (kind != RecordKind::Wfdb) return record;
    const bool isHeader = !HasExtension(path, ".dat");
    record.path = isHeader ? path : Sibling(path, ".hea");
    record.signalPath = isHeader ? SignalFileOf(path) : path;
    return record;
}

Record FindKind(const std::string& path)
{
    const std::string start = ReadStart(path, kImageStartBytes);
    const std::string_view looked = std::string_view(start).substr(0, kLookedAt);
    const auto make = [&](RecordKind kind, const std::string& why) {
        return MakeRecord(kind, why, path);
    };
    if (HasExtension(path, ".edf")) return make(RecordKind::Edf, "its name ends in .edf");
    if (HasExtension(path, ".hea")) return make(RecordKind::Wfdb, "its name ends in .hea");
    if (HasExtension(path, ".ecg")) return make(RecordKind::AhaBinary, "its name ends in .ecg");
    if (HasExtension(path, ".dat") && FileBytes(Sibling(path, ".hea")) >= 0) {
        return make(RecordKind::Wfdb, "a header of the same name stands beside it");
    }
    const std::string letters =
        start.size() >= kImageStartBytes ? start.substr(kImageTagOffset, 4) : "";
    if (letters == "VRAX") return make(RecordKind::Fpga, "it has the letters VRAX of an image");
    if (letters == "2TF2") return make(RecordKind::Mcu, "it has the letters 2TF2 of an image");
    if (IsEdf(looked)) return make(RecordKind::Edf, "it begins as an EDF header does");
    if (!IsText(looked)) return make(RecordKind::Binary, "it is no text");
    if (HasExtension(path, ".txt") && HasTwoFields(looked)) {
        return make(RecordKind::AhaText, "its name ends in .txt and its first line has two fields");
    }
    return make(RecordKind::Text, "it is text");
}

}  // namespace

const std::vector<std::string>& FormatWords()
{
    static const std::vector<std::string> words = {"text", "binary", "aha", "edf",
                                                   "wfdb", "fpga",   "mcu"};
    return words;
}

std::string WordOf(RecordKind kind) { return kNames[static_cast<std::size_t>(kind)].word; }

std::string NameOf(RecordKind kind) { return kNames[static_cast<std::size_t>(kind)].name; }

Record RecogniseRecord(const std::string& path, const std::string& word)
{
    if (word.empty()) return FindKind(path);
    static_cast<void>(ReadStart(path, 1));  // throws when it cannot be read
    const std::string aha = HasExtension(path, ".ecg") ? "aha-binary" : "aha-text";
    const std::string& wanted = word == "aha" ? aha : word;
    const auto* names = std::find_if(std::begin(kNames), std::end(kNames),
                                     [&](const KindNames& each) { return wanted == each.word; });
    return MakeRecord(static_cast<RecordKind>(names - kNames), "--as says so", path);
}

RecordFields ReadFields(const Record& record)
{
    const std::string& path = record.path;
    const std::int64_t bytes = FileBytes(path);
    switch (record.kind) {
        case RecordKind::Text: return ReadTextFields(ReadStart(path, kAll));
        case RecordKind::Binary: return ReadBinaryFields(ReadStart(path, kLookedAt), bytes);
        case RecordKind::AhaText: return ReadAhaTextFields(path, ReadStart(path, kAll));
        case RecordKind::AhaBinary: return ReadAhaBinaryFields(path, bytes);
        case RecordKind::Edf: return ReadEdfFields(ReadStart(path, kEdfHeaderBytes), bytes);
        case RecordKind::Wfdb:
            return ReadWfdbFields(ReadStart(path, kAll), record.signalPath,
                                  FileBytes(record.signalPath));
        case RecordKind::Fpga: return ReadFpgaFields(ReadStart(path, kImageStartBytes), bytes);
        case RecordKind::Mcu: return ReadMcuFields(ReadStart(path, kImageStartBytes), bytes);
    }
    return {};
}

}  // namespace vrax
