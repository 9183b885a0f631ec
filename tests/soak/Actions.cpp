#include "Actions.h"

#include <cmath>

#include "vrax.h"

namespace soak {

namespace {

constexpr unsigned kUsbVoltage = 250;  // of an instrument that was told nothing else
constexpr double kRldVolts[] = {512 * 3.3 / 1023, 256 * 3.3 / 1023};  // its counts 512 and 256
constexpr int kSignals[] = {OUTPUT_ECG,      OUTPUT_ECG,        OUTPUT_ECG,
                            OUTPUT_ECG,      OUTPUT_CUSTOM_ECG, OUTPUT_SINE,
                            OUTPUT_TRIANGLE, OUTPUT_SQUARE,     OUTPUT_RECT_PULSE};

int Whole(Generator& random, int from, int to)
{
    return std::uniform_int_distribution(from, to)(random);
}
double Real(Generator& random, double from, double to)
{
    return std::uniform_real_distribution(from, to)(random);
}
bool Coin(Generator& random) { return Whole(random, 0, 1) == 1; }

template <std::size_t count>
const Action& OneOf(const Action (&actions)[count], Generator& random)
{
    return actions[static_cast<std::size_t>(Whole(random, 0, static_cast<int>(count) - 1))];
}

bool IsRldRead()
{
    double first = 0;
    double second = 0;
    return VRAXReadRLD(&first, &second) == 1 && std::abs(first - kRldVolts[0]) < 1e-9 &&
           std::abs(second - kRldVolts[1]) < 1e-9;
}

bool IsBlockRead()
{
    unsigned char block[64];
    return VRAXReadMfgInfo(block, sizeof block);
}

// Frequencies stay below the least ceiling that a signal has.
const Action kChanges[] = {
    {"signal", [](Generator& r) { return VRAXSetOutputFunction(RandomSignal(r)) == 0; }},
    {"amplitude", [](Generator& r) { return VRAXSetAmplitude(Real(r, 0.1, 5)) == 0; }},
    {"frequency", [](Generator& r) { return VRAXSetFrequency(Real(r, 0.3, 5)) == 0; }},
    {"offset", [](Generator& r) { return VRAXSetDCOffset(Whole(r, -300, 300)) == 0; }},
    {"pulse width", [](Generator& r) { return VRAXSetPulseWidth(Real(r, 20, 200)) == 0; }},
    {"T wave", [](Generator& r) { return VRAXSetTWave(Real(r, 0, 1)) == 0; }},
    {"mains noise",
     [](Generator& r) { return VRAXSetECG2_27_Noise(Whole(r, 0, 2), Real(r, 0.01, 1)) == 0; }},
    {"drift", [](Generator& r) { return VRAXSetECG2_27_AAMIDriftTest(Coin(r)) == 0; }},
    {"pacing amplitude", [](Generator& r) { return VRAXSetPacingAmplitude(Real(r, 0, 50)) == 0; }},
    {"pacing duration", [](Generator& r) { return VRAXSetPacingDuration(Real(r, 0.1, 2)) == 0; }},
    {"pacing rate",
     [](Generator& r) { return VRAXSetPacingRate(static_cast<unsigned>(Whole(r, 30, 200))) == 0; }},
    {"overshoot", [](Generator& r) { return VRAXSetOvershootAmplitude(Real(r, 0, 5)) == 0; }},
    {"lead", [](Generator& r) { return VRAXSetOutputLead(Whole(r, 1, 3), Coin(r)) == 0; }},
};

const Action kCommands[] = {
    {"supply voltage", [](Generator&) { return VRAXGetUSBBusVoltage() == kUsbVoltage; }},
    {"right leg", [](Generator&) { return IsRldRead(); }},
    {"right-leg measurement", [](Generator& r) { return VRAXMeasureRLD(Coin(r)) == 1; }},
    {"lead-off", [](Generator& r) { return VRAXSetLeadOff(Whole(r, 0, 3)) == 1; }},
    {"manufacturing block", [](Generator&) { return IsBlockRead(); }},
    {"pacing", [](Generator&) { return VRAXApplyPacing() == 1; }},
};

}  // namespace

const Action& RandomChange(Generator& random) { return OneOf(kChanges, random); }
const Action& RandomCommand(Generator& random) { return OneOf(kCommands, random); }

int RandomSignal(Generator& random)
{
    return kSignals[static_cast<std::size_t>(
        Whole(random, 0, static_cast<int>(std::size(kSignals)) - 1))];
}

}  // namespace soak
