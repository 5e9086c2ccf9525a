#pragma once

#include <QObject>
#include <QUuid>

/// The show's media resources. It lives on the host's thread.
class CResourceModel : public QObject {
    Q_OBJECT

public:
    static CResourceModel* GetInstance();

signals:
    void signalExControlResourceUsedChanged(const QUuid& resId, bool used);
    void signalExControlResourceDexumerStateChanged(const QUuid& resId, bool demuxed);
};
