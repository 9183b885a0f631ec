// Finds the requests in the byte stream of the port.
//
// Nothing frames a request: the leading bytes demand a length, and a host writes one request at a
// time. So what has arrived is a request when it has exactly a length that its leading bytes allow.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "instrument/SimulatedInstrument.h"

namespace instrument {

enum class Arrival {
    Complete,  // the first `length` bytes are a request
    Partial,   // more bytes have to come
    Bad,       // all that arrived is no request
};

struct Classified {
    Arrival arrival = Arrival::Bad;
    Request kind = Request::Unknown;
    std::size_t length = 0;  // Complete: of the request; Partial: the shortest that is possible
};

// `bytes` is not empty.
Classified Classify(std::span<const std::uint8_t> bytes);

// Whether `kind` is one of those that `wanted` stands for.
bool Matches(Request wanted, Request kind);

// Why `bytes`, which Classify found Bad or which stayed Partial, is no request.
std::string ReasonAgainst(std::span<const std::uint8_t> bytes);

// The first bytes in hexadecimal, a run of zeros at the end cut short.
std::string Hex(std::span<const std::uint8_t> bytes, std::size_t most = 64);

}  // namespace instrument
