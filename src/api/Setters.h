// What the exported setters have in common.
#pragma once

#include "device/Connection.h"
#include "device/Device.h"
#include "device/Exchange.h"
#include "diagnostics/ApiLog.h"

constexpr int kOk = 0;
constexpr int kNoDevice = -1;
constexpr int kOutOfRange = -2;
constexpr int kRefused = -3;
constexpr int kRefusedByTest = -4;

constexpr int kLowestSampleRate = 100;  // Hz, of the stream and of a record
constexpr int kHighestSampleRate = 40000;

// An application that registered a connection listener may set parameters while disconnected.
inline bool CanSetParameters()
{
    return DeviceIsConnected() == 1 || g_ConnectedCallback != nullptr;
}

// Both ends are inside. Written so that a NaN counts as inside too.
template <class T>
bool IsOutside(T value, T low, T high)
{
    return low > value || value > high;
}

template <class T>
T ReadLocked(const Shared<T>& value)
{
    CApiLock lock;
    return value;
}
