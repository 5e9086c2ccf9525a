#pragma once

#include <functional>
#include <string>

/// Hands on the open project, each message as soon as it is made: first a picture of every resource and every scene,
/// then what the models hold. Nothing without a project that has a path.
/// sendPicture, sendProject: called with the JSON text of one message.
void ExportProject(const std::function<void(const std::string&)>& sendPicture,
                   const std::function<void(const std::string&)>& sendProject);
