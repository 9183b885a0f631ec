// A mount namespace of this process's own, with its own /dev and lock directory.
#pragma once

namespace instrument {

// From here on this process and its children see a /dev that holds the ordinary character devices
// and terminals and no serial port, and an empty writable lock directory; nobody else sees what
// they make there. Needs no privilege where user namespaces are allowed; the process keeps its
// user and group. Call it while the process has one thread.
//
// Throws std::runtime_error with one sentence. The process may then be half way in.
void EnterPrivateNamespace();

}  // namespace instrument
