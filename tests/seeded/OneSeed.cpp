#include "OneSeed.h"

#include <dlfcn.h>

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include <fmt/format.h>

#include "Faults.h"
#include "support/Descriptors.h"
#include "support/Waiting.h"
#include "vrax.h"

namespace {
constexpr unsigned kReplyMs = 100;
// A busy machine keeps a byte in a pseudo-terminal for seconds.
constexpr unsigned kPatientReplyMs = 20000;
constexpr unsigned kWriteMs = 200;
constexpr unsigned kPatientWriteMs = 20000;

void TellFaults()
{
    std::string text;
    for (int i = 0; i < seeded::kKinds; ++i) {
        const seeded::Count count = SeededFaultsCount(static_cast<seeded::Kind>(i));
        text += fmt::format("{}{}/{}", i == 0 ? "" : " ", count.faults, count.calls);
    }
    Say("faults", text);
}

// What stands before the library is used, and may stand after VRAXFree.
class Resources {
public:
    explicit Resources(int filesLeftOpen)
        : filesLeftOpen_(filesLeftOpen), descriptors_(CountDescriptors()), threads_(CountThreads())
    {
        // The monitor thread that could not be made at load is made later.
        threads_ += static_cast<int>(SeededFaultsCount(seeded::kPthreadCreate).faults);
    }
    // Empty when nothing is left over of so many passes.
    std::string Left(int passes) const
    {
        const auto mostDescriptors = descriptors_ + passes * filesLeftOpen_;
        if (!Eventually([&] { return CountThreads() <= threads_; })) return "a thread is left";
        if (CountDescriptors() > mostDescriptors) return "a descriptor is left open";
        if (CountEntries("/var/lock") != 0) return "a lock file is left";
        return {};
    }

private:
    int filesLeftOpen_;
    std::ptrdiff_t descriptors_;
    std::ptrdiff_t threads_;
};

std::string DescribeLeak(const seeded::Leak& leak)
{
    Dl_info place = {};
    dladdr(leak.caller, &place);
    const auto offset = reinterpret_cast<std::uintptr_t>(leak.caller) -
                        reinterpret_cast<std::uintptr_t>(place.dli_fbase);
    return fmt::format("{} blocks of {} bytes are not freed, one from {}+{:#x}", leak.blocks,
                       leak.bytes, place.dli_fname != nullptr ? place.dli_fname : "?", offset);
}

// Empty when all is well.
std::string RunBothPasses(const Scenario& scenario,
                          std::optional<instrument::SimulatedInstrument>& device)
{
    const TempDir folder;
    const Resources before(scenario.filesLeftOpen);
    SeededFaultsWatchBlocks();
    SetDeviceTimeoutSetting(kReplyMs, kWriteMs);
    {
        Pass faulty(*device, folder, false);
        scenario.run(faulty);
    }
    SeededFaultsOff();
    TellFaults();
    if (scenario.endsProcess) return {};
    if (const std::string left = before.Left(1); !left.empty()) return left;

    Say("step", "the pass without faults");
    device.reset();
    device.emplace(scenario.options());  // a write that failed may have cost the first one a record
    SetDeviceTimeoutSetting(kPatientReplyMs, kPatientWriteMs);
    Pass clean(*device, folder, true);
    scenario.run(clean);
    if (clean.Failure()) return *clean.Failure();
    if (const std::string left = before.Left(2); !left.empty()) return left + " without faults";
    const seeded::Leak leak = SeededFaultsLeak();
    return leak.blocks == 0 ? std::string() : DescribeLeak(leak);
}
}  // namespace

int RunSeed(std::uint64_t seed)
{
    const Scenario& scenario = ScenarioOf(seed);
    std::optional<instrument::SimulatedInstrument> device(std::in_place, scenario.options());
    const std::string failure = RunBothPasses(scenario, device);
    if (!failure.empty()) Say("failed", failure);
    Say("step", "the end of the process");
    // A process that ends in the middle of a run ends the library, and after it the instrument.
    if (scenario.endsProcess) std::exit(0);
    return failure.empty() ? 0 : 1;
}
