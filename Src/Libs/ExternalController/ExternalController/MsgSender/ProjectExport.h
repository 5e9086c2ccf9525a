#pragma once

#include <functional>
#include <string>

/// Exports the open project: first a picture of every resource and scene, then the data of the models. Sends each
/// message as soon as it is complete. Does nothing if no project is open or the project has no path.
///
/// \param sendPicture, sendProject called on the calling thread with the JSON text of one message
void ExportProject(const std::function<void(const std::string&)>& sendPicture,
                   const std::function<void(const std::string&)>& sendProject);
