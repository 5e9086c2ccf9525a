#include "ShowRemote/Terminal.h"

#include "ExternalController/Common/JsonReader.h"

#include <cstdio>
#ifdef Q_OS_WIN
#include <io.h>
#else
#include <unistd.h>
#endif

namespace {

void Write(std::FILE* file, const QByteArray& text)
{
    std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), file);
    std::fflush(file);
}

} // namespace

void Terminal::PrintLine(const QString& line)
{
    Write(stdout, line.toUtf8() + '\n');
}

bool Terminal::PrintJson(const QByteArray& text)
{
    const QJsonDocument json = ReadJson(text);
    if (json.isNull())
        return false;
    Write(stdout, json.toJson());
    return true;
}

void Terminal::PrintError(const QString& line)
{
    Write(stderr, line.toUtf8() + '\n');
}

void Terminal::ShowProgress(const QString& line)
{
    Write(stderr, "\r\x1b[K" + line.toUtf8());
}

bool Terminal::IsErrorOnTerminal()
{
#ifdef Q_OS_WIN
    return _isatty(_fileno(stderr));
#else
    return isatty(STDERR_FILENO);
#endif
}
