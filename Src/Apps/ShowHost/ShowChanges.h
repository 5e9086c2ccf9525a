#pragma once

#include "ExternalController/Common/Vocabulary.h"
#include "HostModels/Show/Show.h"

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

/// Adds the resource of a new file to the open project; it cannot play yet. If the project has resources of this file,
/// these stay, with their ids and the media that use them, and cannot play until Demux.
void TakeFile(SShow& show, SResourceProperties resource, std::vector<SShowEvent>& events);
/// The project's resources of the file can play from now on. resolution: the picture's in the file; empty if it has
/// none.
void Demux(SShow& show, const QUuid& projectId, const QString& path, const QSize& resolution,
           std::vector<SShowEvent>& events);
