#pragma once

#include "Interfaces/MediaNode.h"

#include <QJsonObject>
#include <QObject>
#include <QStringList>
#include <QUuid>

#include <list>
#include <memory>
#include <utility>

/// Properties that the media of one resource share.
struct SMediaShareProperty {
    SScrollSettings scroll;
};

/// Plays the show's scenes. It lives on the host's thread; its operations are safe to call from any thread.
class CPlayController : public QObject {
    Q_OBJECT

public:
    virtual bool GetStageIsPlaying() = 0;
    virtual bool GetStageIsPausing() = 0;
    /// The state of the stage: 0 playing, 1 paused, 2 stopped.
    virtual int GetGlobalPlayState() = 0;
    /// Left and right, 0 to 1.
    virtual std::pair<float, float> GetVolumn() = 0;

    // The media on the stage, in stage order.
    virtual QStringList GetAllStageMediaId() = 0;
    virtual std::list<CMediaNode> GetStageMedias() = 0;
    /// For a medium that isn't playing returns false and leaves the data unchanged.
    virtual bool GetMediaPlayData(const QUuid& mediaId, SMediaPlayData& data) = 0;
    /// Null if the resource has no shared properties, unless create is set.
    virtual std::shared_ptr<const SMediaShareProperty> GetMediaSharePty(const QUuid& resourceId, bool create) = 0;
    /// The stage's content in the form of the project file.
    virtual QJsonObject SaveStageData() = 0;

signals:
    void signalSceneStartExControl(const QUuid& sceneGroupId, const QUuid& sceneId);
    void signalSceneEndExControl(const QUuid& sceneGroupId, const QUuid& sceneId);
    void signalExControlNotifySceneChanged(const QUuid& sceneGroupId, const QUuid& sceneId);
};

/// Null if the host has no play controller.
CPlayController* GetPlayController();
