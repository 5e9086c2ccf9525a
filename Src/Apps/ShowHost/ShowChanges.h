#pragma once

#include "ExternalController/Common/Vocabulary.h"
#include "HostModels/Show/Show.h"

#include <QJsonObject>

#include <vector>

/// An event on the stage, which the host reports to the module and the show log.
struct SShowEvent {
    enum Kind {
        SceneStarted,    ///< id: the group, second: the scene
        SceneEnded,      ///< as SceneStarted
        ScenePlayed,     ///< as SceneStarted: the current scene has changed
        ResourceUsed,    ///< id: the resource, flag: a medium on the stage uses it
        ResourceDemuxed, ///< id: the resource, flag: it is ready to play
    };

    Kind kind;
    QUuid id;
    QUuid second;
    bool flag = false;
};

/// Executes a command that changes the show.
/// \param body   the command's JSON object
/// \param events the events of the change are appended
/// \return the result for the remote; if it is not Success, the show is unchanged
using ShowChange = ResultText::Index (*)(SShow& show, const QJsonObject& body, std::vector<SShowEvent>& events);

/// Returns the change for a command code, or null if the code doesn't change the show.
ShowChange FindShowChange(int cmdCode);

/// Adds a resource for an uploaded file to the open project. If the project already has resources with this file, they
/// stay, with their ids and media. In both cases the resources are not ready to play until Demux.
void TakeFile(SShow& show, SResourceProperties resource, std::vector<SShowEvent>& events);
/// Marks the project's resources with this file as ready to play.
/// \param resolution in pixels, of the picture in the file; empty if the file contains no picture
void Demux(SShow& show, const QUuid& projectId, const QString& path, const QSize& resolution,
           std::vector<SShowEvent>& events);
