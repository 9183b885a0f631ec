// How a command ends when it cannot do what was asked, and the exit statuses of the program.
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace vrax {

enum ExitStatus {
    kDone = 0,
    kFailed = 1,
    kWrongUsage = 2,
    kNoInstrument = 3,
    kInterrupted = 130,  // what a shell shows for a program that Ctrl-C ended
};

// Thrown by a command, shown by Program::Run() as "vrax: <sentence>; <advice>".
class Failure : public std::exception {
public:
    // Both in lower case and without a full stop; `advice` says what to do and may be empty.
    Failure(std::string sentence, std::string advice, ExitStatus status = kFailed)
        : sentence_(std::move(sentence)), advice_(std::move(advice)), status_(status)
    {}
    const char* what() const noexcept override { return sentence_.c_str(); }
    const std::string& Sentence() const { return sentence_; }
    const std::string& Advice() const { return advice_; }
    ExitStatus Status() const { return status_; }

private:
    std::string sentence_;
    std::string advice_;
    ExitStatus status_;
};

}  // namespace vrax
