#pragma once

#include "HostModels/Show/Show.h"

#include <QImage>
#include <QJsonObject>
#include <QUrlQuery>

#include <functional>
#include <memory>

/// What the stage page shows of the show and of the host's settings. Any thread.
namespace ShowView {

/// The state of the stage: open project, playback, effects, screens, resources on the stage.
QJsonObject Stage(const SShow& show);
/// The scene groups and the resources of a project.
QJsonObject Project(const SProject& project);

/// The logged-in app, the configured addresses of the cloud service and of the FP controller, and the devices.
QJsonObject HostConnections();

/// Returns the function that paints a picture of the show, or an empty function if the show doesn't contain the object.
/// \param path  "/stage.jpg"; "/scene.jpg" with the ids "group" and "scene"; "/resource.jpg" with "id"
std::function<QImage()> Picture(std::shared_ptr<const SShow> show, const QString& path, const QUrlQuery& query);

} // namespace ShowView
