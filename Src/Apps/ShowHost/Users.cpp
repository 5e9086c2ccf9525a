#include "ShowHost/Users.h"

#include "HostModels/JsonFile.h"
#include "HostModels/PasswordCipher.h"

#include <QFile>

#include <cstdio>

#if !defined(_WIN32)
#include <termios.h>
#include <unistd.h>
#endif

namespace {

constexpr char kDemoUser[] = "demo";
constexpr char kDemoPassword[] = "demo";
constexpr int kDemoAccess = 1;

/// Keeps what is typed from being shown for as long as it lives.
class CHiddenInput {
public:
    CHiddenInput()
    {
#if !defined(_WIN32)
        m_isTerminal = tcgetattr(STDIN_FILENO, &m_before) == 0;
        termios hidden = m_before;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        if (m_isTerminal)
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
#endif
    }

    ~CHiddenInput()
    {
#if !defined(_WIN32)
        if (m_isTerminal)
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
#endif
    }

    CHiddenInput(const CHiddenInput&) = delete;
    CHiddenInput& operator=(const CHiddenInput&) = delete;

private:
#if !defined(_WIN32)
    termios m_before{};
    bool m_isTerminal = false;
#endif
};

QString ReadLine(QFile& file)
{
    QByteArray line = file.readLine();
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    return QString::fromUtf8(line);
}

QString AskFor(const char* what, QFile& terminal)
{
    std::fprintf(stderr, "%s: ", what);
    const CHiddenInput hidden;
    const QString answer = ReadLine(terminal);
    std::fputc('\n', stderr);
    return answer;
}

} // namespace

std::vector<SAPPUserNode> DemoUsers()
{
    return {MakeUser(kDemoUser, kDemoPassword, kDemoAccess)};
}

SAPPUserNode MakeUser(const QString& name, const QString& password, int access)
{
    if (name.isEmpty())
        throw CFileError("the user's name is empty");
    if (password.isEmpty())
        throw CFileError("the password is empty");
    const auto encrypted = EncryptPassword(password);
    if (!encrypted)
        throw CFileError("the password is too long: 117 bytes at most");
    SAPPUserNode user;
    user.name = name;
    user.password = *encrypted;
    user.access = access;
    return user;
}

QString ReadPassword(int fileDescriptor)
{
    QFile input;
    const bool asks = fileDescriptor < 0;
    if (!input.open(asks ? fileno(stdin) : fileDescriptor, QIODevice::ReadOnly))
        throw CFileError("can't read the password: " + input.errorString().toStdString());
    if (!asks)
        return ReadLine(input);
    const QString password = AskFor("Password", input);
    if (AskFor("Password again", input) != password)
        throw CFileError("the two passwords differ");
    return password;
}
