#include "tools/tables/TableFiles.h"

#include <cstddef>
#include <fstream>

#include "tools/tables/Families.h"
#include "tools/tables/Noise.h"
#include "tools/tables/TextFile.h"

namespace {
constexpr std::size_t kSecondSamples = 1000;  // of the CAL and ANE20000 rows

// Kept apart from the rest of the line, so that this program's own file does not answer for tables.
constexpr const char* kMark = "@(#)vrax tables";

void WriteFile(const std::filesystem::path& file, const void* data, std::size_t bytes)
{
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(static_cast<const char*>(data), static_cast<std::streamsize>(bytes));
    stream.close();
    if (!stream) throw TableError(file.string() + ": cannot be written");
}

void WriteTable(const std::filesystem::path& file, const Samples& samples)
{
    WriteFile(file, samples.data(), samples.size() * sizeof(Samples::value_type));
}

std::string Kind(bool isRecord) { return isRecord ? "public record" : "likeness"; }
}  // namespace

void BuildTables(const TableSources& sources, const std::filesystem::path& out)
{
    std::error_code error;
    std::filesystem::create_directories(out, error);
    if (error) throw TableError(out.string() + ": " + error.message());

    WriteTable(out / kEc13File,
               JoinRows(sources.hasEc13Records ? Ec13FromRecords(sources.ec13)
                                               : Ec13FromDescriptions(sources.ec13),
                        kEc13RowSamples));
    WriteTable(out / kCalFile, JoinRows(CalFromDescription(sources.cal), kSecondSamples));
    WriteTable(out / kAneFile, JoinRows(AneFromDescription(sources.ane20000), kSecondSamples));
    Samples noise = JoinRows(sources.hasNoiseRecords ? NoiseFromRecords(sources.noise)
                                                     : NoiseFromDescription(sources.noise),
                             kNoiseSamples);
    noise.push_back(0);  // read as the sample after the last
    WriteTable(out / kNoiseFile, noise);
    const std::string identity = TablesIdentity(sources);
    WriteFile(out / kIdentityFile, identity.data(), identity.size());
}

std::string TablesIdentity(const TableSources& sources)
{
    return std::string(kMark) + ": EC13 " + Kind(sources.hasEc13Records) + ", noise " +
           Kind(sources.hasNoiseRecords) + ", CAL likeness, ANE20000 likeness";
}

std::optional<std::string> FindTablesIdentity(const std::filesystem::path& file)
{
    const std::string bytes = ReadBytes(file);
    const std::size_t start = bytes.find(std::string(kMark) + ": ");
    if (start == std::string::npos) return std::nullopt;
    return bytes.substr(start, bytes.find('\0', start) - start);
}
