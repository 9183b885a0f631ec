// A pseudo-terminal that stands in the device directory as /dev/ttyACM<n>.
//
// One thread opens, closes, reads and writes it.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace instrument {

class CPseudoTerminal {
public:
    explicit CPseudoTerminal(int port);
    ~CPseudoTerminal() { Close(); }
    CPseudoTerminal(const CPseudoTerminal&) = delete;
    CPseudoTerminal& operator=(const CPseudoTerminal&) = delete;

    // Throws std::runtime_error with one sentence.
    void Open();
    // The node is gone, and who has it open sees a hang-up.
    void Close();

    bool IsOpen() const { return master_ >= 0; }
    int Descriptor() const { return master_; }         // to wait on
    const std::string& Path() const { return path_; }  // of the node
    const std::string& TerminalPath() const { return terminalPath_; }

    // Non-blocking; the bytes moved, 0 when there is nothing to do now.
    std::size_t Read(std::span<std::uint8_t> buffer);
    std::size_t Write(std::span<const std::uint8_t> bytes);

    // What was written and the host has not read.
    std::size_t Unread() const;
    void DiscardUnread();

private:
    void OpenTerminal();
    void MakeNode();

    const std::string path_;
    std::string terminalPath_;
    int master_ = -1;
    // Kept open, so that the master does not report a hang-up between two users of the port.
    int slave_ = -1;
};

}  // namespace instrument
