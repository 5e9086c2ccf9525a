#pragma once

#include <QObject>
#include <QUuid>

/// Plays the show's scenes. It lives on the host's thread.
class CPlayController : public QObject {
    Q_OBJECT

signals:
    void signalSceneStartExControl(const QUuid& sceneGroupId, const QUuid& sceneId);
    void signalSceneEndExControl(const QUuid& sceneGroupId, const QUuid& sceneId);
    void signalExControlNotifySceneChanged(const QUuid& sceneGroupId, const QUuid& sceneId);
};

CPlayController* GetPlayController();
