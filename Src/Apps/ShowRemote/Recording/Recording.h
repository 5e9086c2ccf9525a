#pragma once

#include "Traffic/Traffic.h"

#include <QByteArray>
#include <QJsonValue>
#include <QString>

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <vector>

/// Thrown if a file is not a recording; the text has the file's name, the line and the reason.
class CBadRecording : public std::runtime_error {
public:
    explicit CBadRecording(const QString& text) : std::runtime_error(text.toStdString()) {}
};

/// The content of a message.
struct SPayload {
    enum class Form { Empty, Json, Text, Bytes };

    Form form = Form::Empty;
    QJsonValue json;
    QByteArray bytes; ///< as sent, without the envelope's header; secrets are replaced
};

/// One record of a file that showhost --record has written.
struct SRecordedLine {
    std::uint64_t number = 0;
    std::chrono::microseconds time{}; ///< since the start of the recording
    TrafficChannel channel = TrafficChannel::AppControl;
    std::uint64_t connection = 0;
    QString peer;
    STrafficRecord::From from = STrafficRecord::From::Host;
    STrafficRecord::Kind kind = STrafficRecord::Kind::Note;
    std::uint32_t code = 0; ///< without the reply bit
    QString name;
    std::uint64_t replyTo = 0;
    SPayload payload;
    QString note;

    bool IsMessage(STrafficRecord::From sender) const
    {
        return kind == STrafficRecord::Kind::Message && from == sender;
    }
};

struct SRecording {
    QString contract; ///< version of the contract of the recorded host
    QString program;
    std::chrono::milliseconds started{}; ///< since 1970-01-01 UTC
    std::vector<SRecordedLine> lines;
};

/// Reads a message's content.
SPayload PayloadOf(const QByteArray& bytes);
/// Reads a recording. Ignores a last line without a line feed: the host was killed while it wrote the line.
/// \param name of the file, for the error message
SRecording ParseRecording(const QByteArray& text, const QString& name);
/// Reads a file. Throws CBadRecording if it can't be read or is not a recording.
SRecording ReadRecording(const QString& file);
