#include "Shared/PasswordInput.h"

#include <QFile>

#include <array>
#include <csignal>
#include <cstdio>

#if !defined(_WIN32)
#include <termios.h>
#include <unistd.h>
#endif

namespace {

#if defined(_WIN32)
class CHiddenInput {};
#else
termios s_terminalBefore;

/// The signals that end the program: Ctrl-C, Ctrl-\, a closed terminal (SIGHUP) and SIGTERM.
constexpr std::array kEndingSignals = {SIGINT, SIGQUIT, SIGHUP, SIGTERM};

void PutBackAndEnd(int signal)
{
    tcsetattr(STDIN_FILENO, TCSANOW, &s_terminalBefore);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

/// Switches the terminal's echo off until destruction, or until a signal ends the program: not every shell restores it.
class CHiddenInput {
public:
    CHiddenInput() : m_isTerminal(tcgetattr(STDIN_FILENO, &s_terminalBefore) == 0)
    {
        if (!m_isTerminal)
            return;
        for (std::size_t i = 0; i < kEndingSignals.size(); ++i)
            m_before[i] = std::signal(kEndingSignals[i], PutBackAndEnd);
        termios hidden = s_terminalBefore;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    }

    ~CHiddenInput()
    {
        if (!m_isTerminal)
            return;
        tcsetattr(STDIN_FILENO, TCSANOW, &s_terminalBefore);
        for (std::size_t i = 0; i < kEndingSignals.size(); ++i)
            std::signal(kEndingSignals[i], m_before[i]);
    }

    CHiddenInput(const CHiddenInput&) = delete;
    CHiddenInput& operator=(const CHiddenInput&) = delete;

private:
    using Handler = void (*)(int);

    const bool m_isTerminal;
    std::array<Handler, kEndingSignals.size()> m_before{};
};
#endif

} // namespace

QString PasswordInput::Ask(const char* prompt)
{
    // Before the prompt, so that a password that is typed early isn't shown.
    [[maybe_unused]] const CHiddenInput hidden;
    std::fprintf(stderr, "%s: ", prompt);
    QString password = ReadFrom(fileno(stdin));
    std::fputc('\n', stderr);
    return password;
}

QString PasswordInput::ReadFrom(int fileDescriptor)
{
    QFile file;
    // A buffered file could read past the end of the line.
    if (!file.open(fileDescriptor, QIODevice::ReadOnly | QIODevice::Unbuffered))
        throw CNoPassword("can't read the password: " + file.errorString());
    QByteArray line = file.readLine();
    if (line.isEmpty())
        throw CNoPassword(file.error() == QFile::NoError ? QStringLiteral("expected a password, got end of input")
                                                         : "can't read the password: " + file.errorString());
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    return QString::fromUtf8(line);
}
