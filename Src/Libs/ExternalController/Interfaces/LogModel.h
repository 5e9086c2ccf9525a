#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

/// A medium that was played.
struct SPlayRecord {
    int fileType = 0; ///< the resource's type
    QString fileDuration;
    QString startTime;
    QString endTime;
    QString playDuration;
    QString fileName;
};

/// Something that an operator or a remote did.
struct SOPRecord {
    QString time;
    QString module;
    QString function;
    QString description;
    int source = 0; ///< ControlSource
};

/// The show log. A query replaces what a list holds. Safe to call from any thread.
class CLogModel {
public:
    virtual ~CLogModel() = default;

    virtual QList<SPlayRecord> GetPlayLogList() = 0;
    virtual QList<SOPRecord> GetOPLogList() = 0;
    /// Those that began between the times, newest last unless descending, with the text in their name if it isn't
    /// empty.
    virtual void QueryPlayLog(const QDateTime& start, const QDateTime& end, const QString& name, bool descending) = 0;
    virtual void QueryOPLog(const QDateTime& start, const QDateTime& end, bool descending) = 0;
};
