#pragma once

#include <cerrno>
#include <exception>
#include <utility>

/// The user or the system has asked the program to end.
class CInterrupted : public std::exception {
public:
    const char* what() const noexcept override { return "interrupted"; }
};

namespace Syscall {

/// After this, SIGINT, SIGTERM and SIGHUP make the next call throw CInterrupted instead of killing the process, so that
/// child processes are ended.
void InterruptOnSignals();
/// Restores the default action of the signals, for child processes.
void DieOnSignals();
/// Throws if a signal was received; for loops whose calls may never block.
void ThrowIfInterrupted();

/// Throws an error for the current errno.
[[noreturn]] void Fail(const char* name);
[[noreturn]] void Fail(const char* name, int error);

/// Makes one system call and returns its result; throws an exception that names it on failure. Repeats a call that
/// another signal interrupted.
template <class Call>
auto Do(const char* name, Call&& call)
{
    for (;;) {
        const auto result = call();
        if (result != -1)
            return result;
        if (errno != EINTR)
            Fail(name);
        ThrowIfInterrupted();
    }
}

} // namespace Syscall

/// Owns a file descriptor.
class CDescriptor {
public:
    explicit CDescriptor(int descriptor) : m_descriptor(descriptor) {}
    CDescriptor(CDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    CDescriptor& operator=(CDescriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~CDescriptor();

    int Get() const { return m_descriptor; }

private:
    int m_descriptor;
};
