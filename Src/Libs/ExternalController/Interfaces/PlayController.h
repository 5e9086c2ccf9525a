#pragma once

#include "Interfaces/MediaNode.h"

#include <QJsonObject>
#include <QObject>
#include <QStringList>
#include <QUuid>

#include <list>
#include <memory>
#include <utility>

/// What the media of one resource have in common.
struct SMediaShareProperty {
    SScrollSettings scroll;
};

/// Plays the show's scenes. It lives on the host's thread; its operations are safe to call from any thread.
class CPlayController : public QObject {
    Q_OBJECT

public:
    virtual bool GetStageIsPlaying() = 0;
    virtual bool GetStageIsPausing() = 0;
    /// The host's number for it.
    virtual int GetGlobalPlayState() = 0;
    /// Left and right, 0 to 1.
    virtual std::pair<float, float> GetVolumn() = 0;

    // The media on the stage, in stage order.
    virtual QStringList GetAllStageMediaId() = 0;
    virtual std::list<CMediaNode> GetStageMedias() = 0;
    /// False, and the data as they were, for a medium that isn't playing.
    virtual bool GetMediaPlayData(const QUuid& mediaId, SMediaPlayData& data) = 0;
    /// Null when the resource's media have nothing in common; create makes it then.
    virtual std::shared_ptr<const SMediaShareProperty> GetMediaSharePty(const QUuid& resourceId, bool create) = 0;
    /// What is on the stage, as the project's file holds it.
    virtual QJsonObject SaveStageData() = 0;

signals:
    void signalSceneStartExControl(const QUuid& sceneGroupId, const QUuid& sceneId);
    void signalSceneEndExControl(const QUuid& sceneGroupId, const QUuid& sceneId);
    void signalExControlNotifySceneChanged(const QUuid& sceneGroupId, const QUuid& sceneId);
};

/// Null when the host has none.
CPlayController* GetPlayController();
