#pragma once

#include "ExternalController/Common/Vocabulary.h"
#include "HostModels/Show.h"

#include <QJsonObject>

#include <vector>

/// Something that happened on the stage and that others are told of.
struct SShowEvent {
    enum Kind {
        SceneStarted,    ///< id: the group, second: the scene
        SceneEnded,      ///< the same
        ScenePlayed,     ///< the same: another scene plays
        ResourceUsed,    ///< id: the resource, flag: whether a medium on the stage uses it
        ResourceDemuxed, ///< id: the resource, flag: whether it can play
    };

    Kind kind;
    QUuid id;
    QUuid second;
    bool flag = false;
};

/// A command that changes the show. Returns what the remote is told; anything but Success has changed nothing.
using ShowChange = ResultText::Index (*)(SShow& show, const QJsonObject& body, std::vector<SShowEvent>& events);

/// The change behind a command's code; null for a code without one.
ShowChange FindShowChange(int cmdCode);

/// Adds a resource to the open project that can't play yet.
void AddResource(SShow& show, SResourceProperties properties);
/// The resource can play, at this resolution if it has one.
void Demux(SShow& show, const QUuid& resourceId, const QSize& resolution, std::vector<SShowEvent>& events);
