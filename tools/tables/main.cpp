// vrax-tables: makes the library's tables, tells which ones a build holds, compares with records.
#include <cstdint>
#include <cstdio>
#include <exception>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/tables/Compare.h"
#include "tools/tables/Families.h"
#include "tools/tables/Noise.h"
#include "tools/tables/TableFiles.h"

namespace {
constexpr const char* kUsage =
    R"(Usage: vrax-tables build --out DIR --cal FILE --ane20000 FILE
                         (--ec13 DIR | --ec13-records DIR) (--noise FILE | --noise-records DIR)
       vrax-tables which FILE
       vrax-tables compare --tables DIR [--ec13-records DIR] [--noise-records DIR] [--exact]
       vrax-tables fit-noise --noise-records DIR

The constant tables of the library.

  build      expands descriptions, or converts public records in WFDB form, into the files that are
             embedded: iec227w.bin, iec251w.bin, ane20000.bin, noise.bin (32-bit microvolts in this
             machine's byte order) and identity.txt
  which      tells which tables a library or program holds
  compare    tells how far the tables that `build` wrote are from records
  fit-noise  prints the description of the noise that is derived from the records

Exit status:
  0  done
  1  a file is missing, is refused or cannot be written; the message names it
  2  the arguments are wrong
  3  which: the file holds no tables; compare --exact: a table differs from the records
)";

constexpr int kFailed = 1;
constexpr int kWrongArguments = 2;
constexpr int kNo = 3;
constexpr std::uint64_t kFirstSeed = 1;

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The options of a command line, each with a value; --exact has none.
class Options {
public:
    Options(const std::vector<std::string>& words, const std::vector<std::string>& known)
    {
        for (std::size_t i = 0; i < words.size(); ++i) {
            bool isKnown = false;
            for (const std::string& name : known) isKnown = isKnown || name == words[i];
            if (!isKnown) throw UsageError("unknown argument '" + words[i] + "'");
            const std::string& name = words[i];
            if (name != "--exact" && ++i == words.size()) throw UsageError(name + " needs a value");
            values_[name] = words[i];
        }
    }

    bool Has(const std::string& name) const { return values_.contains(name); }
    const std::string& Get(const std::string& name) const
    {
        if (!Has(name)) throw UsageError(name + " is missing");
        return values_.at(name);
    }

private:
    std::map<std::string, std::string> values_;
};

int Build(const std::vector<std::string>& words)
{
    const Options options(words, {"--out", "--cal", "--ane20000", "--ec13", "--ec13-records",
                                  "--noise", "--noise-records"});
    TableSources sources;
    sources.hasEc13Records = options.Has("--ec13-records");
    sources.hasNoiseRecords = options.Has("--noise-records");
    if (sources.hasEc13Records && options.Has("--ec13")) {
        throw UsageError("--ec13 and --ec13-records exclude each other");
    }
    if (sources.hasNoiseRecords && options.Has("--noise")) {
        throw UsageError("--noise and --noise-records exclude each other");
    }
    sources.ec13 = options.Get(sources.hasEc13Records ? "--ec13-records" : "--ec13");
    sources.noise = options.Get(sources.hasNoiseRecords ? "--noise-records" : "--noise");
    sources.cal = options.Get("--cal");
    sources.ane20000 = options.Get("--ane20000");
    BuildTables(sources, options.Get("--out"));
    return 0;
}

int Which(const std::vector<std::string>& words)
{
    if (words.size() != 1) throw UsageError("which needs one file");
    const auto identity = FindTablesIdentity(words[0]);
    if (!identity) {
        std::fprintf(stderr, "vrax-tables: %s: holds no tables\n", words[0].c_str());
        return kNo;
    }
    std::printf("%s\n", identity->c_str());
    return 0;
}

int Compare(const std::vector<std::string>& words)
{
    const Options options(words, {"--tables", "--ec13-records", "--noise-records", "--exact"});
    const std::filesystem::path tables = options.Get("--tables");
    if (!options.Has("--ec13-records") && !options.Has("--noise-records")) {
        throw UsageError("--ec13-records or --noise-records is missing");
    }
    std::vector<Difference> differences;
    const auto add = [&](const std::vector<NamedSamples>& records, const char* file,
                         std::size_t rowSamples) {
        const auto more = CompareTable(tables / file, rowSamples, records);
        differences.insert(differences.end(), more.begin(), more.end());
    };
    if (options.Has("--ec13-records")) {
        add(Ec13FromRecords(options.Get("--ec13-records")), kEc13File, kEc13RowSamples);
    }
    if (options.Has("--noise-records")) {
        add(NoiseFromRecords(options.Get("--noise-records")), kNoiseFile, kNoiseSamples);
    }
    std::fputs(DifferencesText(differences).c_str(), stdout);
    return options.Has("--exact") && !AreExact(differences) ? kNo : 0;
}

int FitNoiseRecords(const std::vector<std::string>& words)
{
    const Options options(words, {"--noise-records"});
    std::vector<NoiseDescription> descriptions;
    for (const NamedSamples& record : NoiseFromRecords(options.Get("--noise-records"))) {
        std::fprintf(stderr, "fitting %s\n", record.name.c_str());
        descriptions.push_back(
            FitNoise(record.name, kFirstSeed + descriptions.size(), record.microvolts));
    }
    std::fputs(NoiseDescriptionText(descriptions).c_str(), stdout);
    return 0;
}

int Run(const std::vector<std::string>& words)
{
    const std::vector<std::string> rest(words.begin() + (words.empty() ? 0 : 1), words.end());
    if (words.empty()) throw UsageError("a command is missing");
    if (words[0] == "--help" || words[0] == "-h") {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (words[0] == "build") return Build(rest);
    if (words[0] == "which") return Which(rest);
    if (words[0] == "compare") return Compare(rest);
    if (words[0] == "fit-noise") return FitNoiseRecords(rest);
    throw UsageError("unknown command '" + words[0] + "'");
}
}  // namespace

int main(int argc, char** argv)
try {
    const int status = Run({argv + 1, argv + argc});
    if (std::fflush(stdout) == 0) return status;
    std::fputs("vrax-tables: the output cannot be written\n", stderr);
    return kFailed;
} catch (const UsageError& error) {
    std::fprintf(stderr, "vrax-tables: %s\n\n%s", error.what(), kUsage);
    return kWrongArguments;
} catch (const std::exception& error) {
    std::fprintf(stderr, "vrax-tables: %s\n", error.what());
    return kFailed;
}
