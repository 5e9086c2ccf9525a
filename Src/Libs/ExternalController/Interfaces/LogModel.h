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

/// An action of an operator or a remote.
struct SOPRecord {
    QString time;
    QString module;
    QString function;
    QString description;
    int source = 0; ///< ControlSource
};

/// The show log. Each query replaces the list of its kind. Safe to call from any thread.
class CLogModel {
public:
    virtual ~CLogModel() = default;

    virtual QList<SPlayRecord> GetPlayLogList() = 0;
    virtual QList<SOPRecord> GetOPLogList() = 0;
    /// Selects the records that began between the times, newest last unless descending. If name isn't empty, only those
    /// whose name contains it.
    virtual void QueryPlayLog(const QDateTime& start, const QDateTime& end, const QString& name, bool descending) = 0;
    virtual void QueryOPLog(const QDateTime& start, const QDateTime& end, bool descending) = 0;
};
