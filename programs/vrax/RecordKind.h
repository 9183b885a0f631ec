// Which of the formats that the library loads a file has, told from its name and its first bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "RecordFields.h"

namespace vrax {

enum class RecordKind { Text, Binary, AhaText, AhaBinary, Edf, Wfdb, Fpga, Mcu };

struct Record {
    RecordKind kind = RecordKind::Text;
    std::string why;         // it is taken for that
    std::string path;        // of WFDB the header
    std::string signalPath;  // WFDB alone
};

// The words of --as; which of the two AHA formats it is, the name of the file tells.
const std::vector<std::string>& FormatWords();

// For machines and for people.
std::string WordOf(RecordKind kind);
std::string NameOf(RecordKind kind);

// `word` is one of FormatWords(), or empty to find out. Throws Failure when the file cannot be
// read.
Record RecogniseRecord(const std::string& path, const std::string& word);

// Its header fields as the loader reads them.
RecordFields ReadFields(const Record& record);

}  // namespace vrax
