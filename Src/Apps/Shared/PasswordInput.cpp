#include "Shared/PasswordInput.h"

#include <QFile>

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

void PutBackAndEnd(int signal)
{
    tcsetattr(STDIN_FILENO, TCSANOW, &s_terminalBefore);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

/// Keeps what is typed from being shown for as long as it lives, or until Ctrl-C ends the program: not every shell
/// shows again what a program hid.
class CHiddenInput {
public:
    CHiddenInput() : m_isTerminal(tcgetattr(STDIN_FILENO, &s_terminalBefore) == 0)
    {
        if (!m_isTerminal)
            return;
        m_interruptBefore = std::signal(SIGINT, PutBackAndEnd);
        m_terminateBefore = std::signal(SIGTERM, PutBackAndEnd);
        termios hidden = s_terminalBefore;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    }

    ~CHiddenInput()
    {
        if (!m_isTerminal)
            return;
        tcsetattr(STDIN_FILENO, TCSANOW, &s_terminalBefore);
        std::signal(SIGINT, m_interruptBefore);
        std::signal(SIGTERM, m_terminateBefore);
    }

    CHiddenInput(const CHiddenInput&) = delete;
    CHiddenInput& operator=(const CHiddenInput&) = delete;

private:
    using Handler = void (*)(int);

    const bool m_isTerminal;
    Handler m_interruptBefore = nullptr;
    Handler m_terminateBefore = nullptr;
};
#endif

} // namespace

QString PasswordInput::Ask(const char* prompt)
{
    // Hidden before it is asked for: whoever answers fast is not shown either.
    [[maybe_unused]] const CHiddenInput hidden;
    std::fprintf(stderr, "%s: ", prompt);
    QString password = ReadFrom(fileno(stdin));
    std::fputc('\n', stderr);
    return password;
}

QString PasswordInput::ReadFrom(int fileDescriptor)
{
    QFile file;
    // Buffered, it would swallow the next line as well.
    if (!file.open(fileDescriptor, QIODevice::ReadOnly | QIODevice::Unbuffered))
        throw CNoPassword("can't read the password: " + file.errorString());
    QByteArray line = file.readLine();
    if (line.isEmpty())
        throw CNoPassword(file.error() == QFile::NoError ? QStringLiteral("no password was given")
                                                         : "can't read the password: " + file.errorString());
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    return QString::fromUtf8(line);
}
