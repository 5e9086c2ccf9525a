#include "ChannelLoad/Syscall.h"

#include <csignal>
#include <system_error>

#include <unistd.h>

namespace {

volatile std::sig_atomic_t s_interrupted = 0;

constexpr int kEndSignals[] = {SIGINT, SIGTERM, SIGHUP};

void SetHandler(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler; // without SA_RESTART: a blocking call must return
    for (const int number : kEndSignals)
        Syscall::Do("sigaction", [&] { return sigaction(number, &action, nullptr); });
}

} // namespace

void Syscall::InterruptOnSignals()
{
    SetHandler([](int) { s_interrupted = 1; });
}

void Syscall::DieOnSignals()
{
    SetHandler(SIG_DFL);
}

void Syscall::ThrowIfInterrupted()
{
    if (s_interrupted)
        throw CInterrupted();
}

void Syscall::Fail(const char* name)
{
    Fail(name, errno);
}

void Syscall::Fail(const char* name, int error)
{
    // All sockets are blocking: EAGAIN means that a time limit has expired.
    throw std::system_error(error == EAGAIN ? ETIMEDOUT : error, std::generic_category(), name);
}

CDescriptor::~CDescriptor()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}
