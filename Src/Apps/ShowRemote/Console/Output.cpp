#include "ShowRemote/Console/Output.h"

#include "ExternalController/Common/JsonReader.h"
#include "ShowRemote/Console/Failure.h"

#include <QFile>
#include <QFileInfo>

#include <cstdio>
#ifdef Q_OS_WIN
#include <io.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace {

/// JSON that would be longer is printed without indentation: a text of many deeply nested small values would grow by a
/// factor of 100.
constexpr qint64 kMaxIndentedBytes = qint64{64} << 20;
constexpr int kBytesPerLevel = 4;

bool Write(std::FILE* file, const QByteArray& text)
{
    return std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), file) ==
               static_cast<std::size_t>(text.size()) &&
           std::fflush(file) == 0;
}

void WriteOutput(const QByteArray& text)
{
    if (!Write(stdout, text))
        throw CFailure(QStringLiteral("can't write to standard output: %1").arg(qt_error_string()));
}

/// Returns the size of a compact JSON text after indentation, estimated slightly too large.
qint64 IndentedBytes(const QByteArray& compact)
{
    qint64 bytes = compact.size();
    qint64 depth = 0;
    bool isInString = false;
    for (const char* at = compact.begin(); at != compact.end(); ++at) {
        if (*at == '"')
            isInString = !isInString;
        else if (isInString && *at == '\\')
            ++at; // skip the escaped character; it is never the last one
        else if (!isInString && (*at == '{' || *at == '['))
            bytes += kBytesPerLevel * ++depth + 1;
        else if (!isInString && (*at == '}' || *at == ']'))
            bytes += kBytesPerLevel * --depth + 1;
        else if (!isInString && (*at == ',' || *at == ':'))
            bytes += kBytesPerLevel * depth + 1;
    }
    return bytes;
}

/// Escapes the control characters that JSON allows in strings: U+007F and U+0080 to U+009F (in UTF-8 C2 80 to C2 9F).
/// The latter start escape sequences on many terminals.
QByteArray WithoutControls(const QByteArray& json)
{
    QByteArray text;
    int copied = 0;
    for (int i = 0; i < json.size(); ++i) {
        const bool isDelete = json[i] == '\x7f';
        const bool isC1 = json[i] == '\xc2' && i + 1 < json.size() && static_cast<unsigned char>(json[i + 1]) < 0xa0;
        if (!isDelete && !isC1)
            continue;
        text.append(json.constData() + copied, i - copied);
        i += isC1 ? 1 : 0;
        text += "\\u00" + QByteArray::number(static_cast<unsigned char>(json[i]), 16);
        copied = i + 1;
    }
    return copied == 0 ? json : text.append(json.constData() + copied, json.size() - copied);
}

} // namespace

void Output::ReserveStandardStreams()
{
#ifndef Q_OS_WIN
    // Opened with the wrong access mode, so that using one of them still fails.
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) == -1)
            open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
#endif
}

void Output::PrintLine(const QString& line)
{
    WriteOutput(line.toUtf8() + '\n');
}

QJsonDocument Output::PrintJson(const QByteArray& text)
{
    QJsonDocument json = ReadJson(text);
    if (json.isNull())
        return json;
    const QByteArray compact = json.toJson(QJsonDocument::Compact);
    WriteOutput(WithoutControls(IndentedBytes(compact) > kMaxIndentedBytes ? compact + '\n' : json.toJson()));
    return json;
}

void Output::WriteFile(const QString& name, const QByteArray& bytes)
{
    QFile file(name);
    const bool isOpen = file.open(QIODevice::WriteOnly);
    if (!isOpen || file.write(bytes) != bytes.size() || !file.flush()) {
        const QString reason = file.errorString();
        // Don't remove a device.
        if (isOpen && QFileInfo(name).isFile())
            file.remove();
        throw CFailure(QStringLiteral("can't write %1: %2").arg(name, reason));
    }
    PrintLine(QStringLiteral("written to %1").arg(name));
}

void Output::PrintError(const QString& line)
{
    Write(stderr, line.toUtf8() + '\n');
}

void Output::ShowProgress(const QString& line)
{
    Write(stderr, "\r\x1b[K" + line.toUtf8());
}

bool Output::IsErrorOnTerminal()
{
#ifdef Q_OS_WIN
    return _isatty(_fileno(stderr));
#else
    return isatty(STDERR_FILENO);
#endif
}
