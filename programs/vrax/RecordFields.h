// The header of a recording, field by field, as its loader reads it: for people who want to know
// why a file is refused. The loaders themselves decide; see RecordLoads.h.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vrax {

struct RecordField {
    std::string name;
    std::int64_t offset = 0;  // of its first byte in the file
    std::string value;        // as it stands there
    std::string rule;         // the rule that it breaks; empty when it is accepted
    std::string note;         // accepted, but perhaps not as it was meant
};

struct RecordFields {
    std::vector<RecordField> fields;
    std::vector<std::string> channels;  // their names, as many as can be loaded
    double rate = 0.0;                  // samples a second with fractions; 0: whole, ask the loader

    RecordField& Add(const std::string& name, std::int64_t offset, std::string_view value);
};

// Signals beyond these are not listed.
constexpr int kMostChannels = 256;

// A header that promises this many samples which are not there is still believed.
constexpr std::int64_t kForgivenSamples = 1000000;

RecordFields ReadTextFields(std::string_view bytes);
RecordFields ReadBinaryFields(std::string_view start, std::int64_t fileBytes);
RecordFields ReadAhaTextFields(std::string_view path, std::string_view bytes);
RecordFields ReadAhaBinaryFields(std::string_view path, std::int64_t fileBytes);
// `start` has the headers of all signals, as far as they are there.
RecordFields ReadEdfFields(std::string_view start, std::int64_t fileBytes);
// `signalBytes` is -1 for a signal file that is not there.
RecordFields ReadWfdbFields(std::string_view header, const std::string& signalPath,
                            std::int64_t signalBytes);
// An image of one of the instrument's programs. The letters are those that the loader looks for.
RecordFields ReadFpgaFields(std::string_view start, std::int64_t fileBytes);
RecordFields ReadMcuFields(std::string_view start, std::int64_t fileBytes);

// Where an image has its letters and its version, and how much of it is looked at.
constexpr std::size_t kImageTagOffset = 118772;
constexpr std::size_t kImageStartBytes = kImageTagOffset + 8;

// Text as it can be printed: other bytes as \x1B, of a long one the start.
std::string Printable(std::string_view text);

// The first number in the text as strtod and atoi take it, 0 when there is none. The rest of the
// text is told in `rest` unless it is white space.
double NumberIn(std::string_view text, std::string_view* rest = nullptr);
int IntegerIn(std::string_view text, std::string_view* rest = nullptr);

// Nothing, or that the text goes on behind its number.
std::string NoteOnRest(std::string_view rest);

// What the loaders make of a file that holds fewer samples than its header promises.
void JudgePromise(RecordField& field, std::int64_t promised, std::int64_t there);

}  // namespace vrax
