#pragma once

#include <cerrno>
#include <exception>
#include <utility>

/// The person at the keyboard, or the system, wants the program to end.
class CInterrupted : public std::exception {
public:
    const char* what() const noexcept override { return "interrupted"; }
};

namespace Syscall {

/// From here on SIGINT, SIGTERM and SIGHUP make the next call throw CInterrupted instead of killing the process, so
/// that what has been started is ended on the way out.
void InterruptOnSignals();
/// The signals' usual effect again, for a child that only has to die.
void DieOnSignals();
/// Throws if a signal has come; for loops whose calls may never have to wait.
void ThrowIfInterrupted();

/// Throws for errno as the call left it.
[[noreturn]] void Fail(const char* name);
[[noreturn]] void Fail(const char* name, int error);

/// Makes one system call: its result, or an exception that names it. A call that another signal broke off is repeated.
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
