// What on this computer can stand between the program and the instrument: ports, permissions, lock
// files and ModemManager. Looks only; opens no port.
#pragma once

#include <string>
#include <vector>

namespace vrax {

enum class Verdict { Ok, Warning, Failure };

struct Finding {
    std::string check;  // what was looked at, one word
    Verdict verdict = Verdict::Ok;
    std::string text;
    std::string advice;  // empty when all is well
};
using Findings = std::vector<Finding>;

// Where to look; other folders in tests.
struct HostPaths {
    std::string dev = "/dev";
    std::string lock = "/var/lock";
    std::string proc = "/proc";
    std::string sys = "/sys";
    std::string udevData = "/run/udev/data";
};

// The numbers n of the nodes ttyACM<n>, in order.
std::vector<int> ListPorts(const HostPaths& paths);

// One finding for all ports together; `wanted` is the only one that is used, -1 = any.
Finding CheckPorts(const HostPaths& paths, int wanted);

// Whether this process may read and write the node, and what to do when it may not.
Finding CheckPermission(const HostPaths& paths, int port);

// Whether lock files can be made.
Finding CheckLockDirectory(const HostPaths& paths);

// One finding for each lock file, of ports that are not there too. A port in use is a failure when
// it is `wanted`, or when -1 = any is and no port is free.
Findings CheckLocks(const HostPaths& paths, int wanted = -1);

// ModemManager takes new ports for modems and talks to them, unless udev marks them.
Finding CheckModemManager(const HostPaths& paths, const std::vector<int>& ports);

}  // namespace vrax
