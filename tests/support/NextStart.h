// What a process finds that connects after another has died: the dead one's lock file, and an
// instrument that answers, plays and lets itself be left as if nothing had been.
#pragma once

#include <gtest/gtest.h>

#include "support/LinkHost.h"
#include "support/TempDir.h"

inline std::string IdBytes(pid_t id) { return {reinterpret_cast<const char*>(&id), sizeof id}; }

// Connects; the milliseconds that it took.
inline double ExpectUsableByTheNext(instrument::SimulatedInstrument& instrument)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(VRAXConnect(0, kConnectMs));
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(ReadWholeFile(LockFilePath(0)), IdBytes(getpid()));
    EXPECT_STREQ(VRAXGetSerialNumber(), "TEC1020-250042");
    EXPECT_STREQ(VRAXGetFWVersion(), "2.1.00.07");
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);

    const instrument::StreamStatistics before = instrument.Statistics();
    instrument.ClearRefusals();
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    EXPECT_TRUE(instrument.WaitForMorePackets(5));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_TRUE(instrument.WaitForStop(before.stopPackets + 1));
    EXPECT_EQ(instrument.Statistics().sequenceErrors, before.sequenceErrors);
    ExpectNoRefusals(instrument);
    VRAXFree();
    EXPECT_EQ(CountLockFiles(), 0);
    return took.count();
}
