#include "HostChecks.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vrax {

namespace {

namespace fs = std::filesystem;

constexpr char kNodePrefix[] = "ttyACM";
constexpr char kLockPrefix[] = "tessarin.ACM";
constexpr char kLockSuffix[] = ".lock";

std::optional<int> Number(std::string_view text)
{
    int value = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end || value < 0) return std::nullopt;
    return value;
}

// The numbers in the names "<prefix><number><suffix>" of a folder, in order.
std::vector<int> Numbers(const std::string& folder, std::string_view prefix,
                         std::string_view suffix)
{
    std::vector<int> numbers;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename().string();
        if (name.size() <= prefix.size() + suffix.size() || name.rfind(prefix, 0) != 0) continue;
        if (name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0) continue;
        const auto middle =
            std::string_view(name).substr(prefix.size(),
                                          name.size() - prefix.size() - suffix.size());
        if (const auto number = Number(middle)) numbers.push_back(*number);
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

std::string FirstLine(const std::string& path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

std::string NodePath(const HostPaths& paths, int port)
{
    return fmt::format("{}/{}{}", paths.dev, kNodePrefix, port);
}

std::string UserName(uid_t id)
{
    const passwd* const user = getpwuid(id);
    return user != nullptr ? user->pw_name : std::to_string(id);
}
std::string GroupName(gid_t id)
{
    const group* const entry = getgrgid(id);
    return entry != nullptr ? entry->gr_name : std::to_string(id);
}

// By the user database; a session that is older than the entry does not have the group yet.
bool IsListedMember(const std::string& user, const std::string& name)
{
    const group* const entry = getgrnam(name.c_str());
    if (entry == nullptr) return false;
    for (char** member = entry->gr_mem; *member != nullptr; ++member) {
        if (user == *member) return true;
    }
    return false;
}

std::string PermissionAdvice(const struct stat& node)
{
    constexpr mode_t kGroupMode = S_IRGRP | S_IWGRP;
    const std::string group = GroupName(node.st_gid);
    const std::string user = UserName(geteuid());
    if ((node.st_mode & kGroupMode) != kGroupMode || node.st_gid == 0) {
        return "install the udev rule that comes with vrax, then plug the instrument in again";
    }
    if (IsListedMember(user, group)) {
        return fmt::format("log out and in again: {} is in the group {}, this session is not", user,
                           group);
    }
    return fmt::format("sudo usermod -aG {} {}, then log out and in again", group, user);
}

// 0 and below would mean whole groups of processes.
bool IsAlive(pid_t process) { return process > 0 && (kill(process, 0) == 0 || errno == EPERM); }

// Nothing when it was removed meanwhile.
std::optional<Finding> CheckLock(const HostPaths& paths, int port)
{
    const std::string path = fmt::format("{}/{}{}{}", paths.lock, kLockPrefix, port, kLockSuffix);
    Finding finding{"lock", Verdict::Failure, "", ""};
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (file < 0) {
        if (errno == ENOENT) return std::nullopt;
        struct stat info {};
        const bool isThere = stat(path.c_str(), &info) == 0;
        finding.text = fmt::format("{} belongs to {}, so that port {} stays closed", path,
                                   isThere ? UserName(info.st_uid) : "another user", port);
        finding.advice = "end the program of that user, or remove the file as root";
        return finding;
    }
    pid_t owner = 0;
    const ssize_t count = read(file, &owner, sizeof owner);
    close(file);
    if (count < static_cast<ssize_t>(sizeof owner) || owner <= 0) {
        finding.text = fmt::format("{} has no process id and keeps port {} closed", path, port);
        finding.advice = fmt::format("rm {}", path);
        return finding;
    }
    if (IsAlive(owner)) {
        const std::string name = FirstLine(fmt::format("{}/{}/comm", paths.proc, owner));
        finding.text = fmt::format("port {} is in use by process {} ({})", port, owner,
                                   name.empty() ? "name unknown" : name);
        finding.advice = "end that process, or use another instrument with --port";
        return finding;
    }
    finding.verdict = Verdict::Warning;
    finding.text = fmt::format("{} was left by process {}, which has ended", path, owner);
    finding.advice = "nothing to do: the next connection removes it";
    return finding;
}

bool RunsModemManager(const HostPaths& paths)
{
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(paths.proc, error)) {
        if (!Number(entry.path().filename().string())) continue;
        if (FirstLine((entry.path() / "comm").string()) == "ModemManager") return true;
    }
    return false;
}

// udev's notes on a device, named by the numbers of its node: "166:0" in sysfs.
bool HasIgnoreMark(const HostPaths& paths, const std::string& numbers)
{
    std::ifstream notes(fmt::format("{}/c{}", paths.udevData, numbers));
    for (std::string line; std::getline(notes, line);) {
        if (line == "E:ID_MM_DEVICE_IGNORE=1" || line == "E:ID_MM_PORT_IGNORE=1") return true;
    }
    return false;
}

// A port that sysfs does not know is none that ModemManager sees.
bool IsLeftAlone(const HostPaths& paths, int port)
{
    const std::string tty = fmt::format("{}/class/tty/{}{}", paths.sys, kNodePrefix, port);
    const std::string own = FirstLine(tty + "/dev");
    if (own.empty()) return true;
    // The USB device stands above the interface to which the port belongs.
    std::error_code error;
    const fs::path interface = fs::canonical(tty + "/device", error);
    const std::string usb = error ? "" : FirstLine((interface.parent_path() / "dev").string());
    return HasIgnoreMark(paths, own) || (!usb.empty() && HasIgnoreMark(paths, usb));
}

}  // namespace

std::vector<int> ListPorts(const HostPaths& paths) { return Numbers(paths.dev, kNodePrefix, ""); }

Finding CheckPorts(const HostPaths& paths, int wanted)
{
    const std::vector<int> ports = ListPorts(paths);
    const bool isThere =
        wanted < 0 ? !ports.empty() : std::find(ports.begin(), ports.end(), wanted) != ports.end();
    if (!isThere) {
        const std::string name = wanted < 0 ? "<n>" : std::to_string(wanted);
        return {"ports", Verdict::Failure,
                fmt::format("there is no {}/{}{}", paths.dev, kNodePrefix, name),
                "plug the instrument in and switch it on; if it is, try another cable"};
    }
    std::vector<std::string> names;
    for (const int port : ports) names.push_back(NodePath(paths, port));
    return {"ports", Verdict::Ok, fmt::format("{}", fmt::join(names, ", ")), ""};
}

Finding CheckPermission(const HostPaths& paths, int port)
{
    const std::string path = NodePath(paths, port);
    struct stat node {};
    if (stat(path.c_str(), &node) != 0) {
        return {"permission", Verdict::Failure, fmt::format("{} leads nowhere", path),
                "plug the instrument in again"};
    }
    // With the effective ids, as when the port is opened.
    if (faccessat(AT_FDCWD, path.c_str(), R_OK | W_OK, AT_EACCESS) == 0) {
        return {"permission", Verdict::Ok, fmt::format("{} may use {}", UserName(geteuid()), path),
                ""};
    }
    return {"permission", Verdict::Failure,
            fmt::format("{} may not use {} (owner {}, group {}, mode {:04o})", UserName(geteuid()),
                        path, UserName(node.st_uid), GroupName(node.st_gid), node.st_mode & 07777U),
            PermissionAdvice(node)};
}

Finding CheckLockDirectory(const HostPaths& paths)
{
    if (faccessat(AT_FDCWD, paths.lock.c_str(), W_OK | X_OK, AT_EACCESS) == 0) {
        return {"locks", Verdict::Ok, fmt::format("lock files can be made in {}", paths.lock), ""};
    }
    std::error_code error;
    const bool isThere = fs::is_directory(paths.lock, error);
    return {"locks", Verdict::Failure,
            fmt::format("no lock file can be made in {}{}", paths.lock,
                        isThere ? "" : ", which is not there"),
            fmt::format("install the tmpfiles snippet that comes with vrax, or: sudo install -d -m "
                        "1777 {}",
                        paths.lock)};
}

Findings CheckLocks(const HostPaths& paths, int wanted)
{
    std::vector<int> freePorts = ListPorts(paths);
    std::vector<std::pair<int, Finding>> locks;
    for (const int port : Numbers(paths.lock, kLockPrefix, kLockSuffix)) {
        std::optional<Finding> finding = CheckLock(paths, port);
        if (!finding) continue;
        if (finding->verdict == Verdict::Failure) std::erase(freePorts, port);
        locks.emplace_back(port, *finding);
    }
    Findings findings;
    for (auto& [port, finding] : locks) {
        const bool isOther = wanted < 0 ? !freePorts.empty() : port != wanted;
        if (isOther && finding.verdict == Verdict::Failure) finding.verdict = Verdict::Warning;
        findings.push_back(finding);
    }
    return findings;
}

Finding CheckModemManager(const HostPaths& paths, const std::vector<int>& ports)
{
    if (!RunsModemManager(paths)) {
        return {"modem", Verdict::Ok, "ModemManager does not run", ""};
    }
    std::vector<std::string> names;
    for (const int port : ports) {
        if (!IsLeftAlone(paths, port)) names.push_back(NodePath(paths, port));
    }
    if (names.empty()) return {"modem", Verdict::Ok, "ModemManager leaves the ports alone", ""};
    return {"modem", Verdict::Warning,
            fmt::format("ModemManager may send commands to {}", fmt::join(names, ", ")),
            "install the udev rule that comes with vrax, or: sudo systemctl stop ModemManager"};
}

}  // namespace vrax
