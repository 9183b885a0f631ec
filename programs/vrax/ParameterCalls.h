// From the values that a user gave to the calls of the library.
#pragma once

#include "Parameters.h"

namespace vrax {

// Before the signal is selected: everything that shapes it. An instrument or a connection listener
// must be there. Throws Failure, which names the parameters and the reason, when a call refuses.
void SetParameters(const Values& values);

// While it plays: what the selection of a signal would undo.
void SetPlayingParameters(const Values& values);

// While it plays on after the instrument was away: what the library does not send again by itself.
void SetParametersAgain(const Values& values);

}  // namespace vrax
