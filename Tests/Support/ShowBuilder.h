#pragma once

#include "HostModels/Show/Show.h"

#include <QJsonObject>

#include <functional>
#include <string>
#include <vector>

// Builds shows in memory from small numbers: the object with the number 7 has an id that ends in 7, and a name such as
// "Scene 7".

QUuid Id(int number);
/// Returns the id as text without braces.
QString IdText(int number);
/// Parses an object in which "#7" is replaced by IdText(7), also within braces.
QJsonObject Json(const std::string& text);

/// Returns a resource that is demuxed and whose file exists.
SResource MakeResource(int id, int type);
SResource MakeResource(const SResourceProperties& properties);
/// Returns a medium of 200 by 100 at 100, 50.
CMediaNode MakeMedium(int id, const SResource& resource, const std::function<void(SMediaProperties&)>& change = {});
/// Returns a scene that fades in within 500 ms and out within 1500 ms.
SScene MakeScene(int id, std::vector<CMediaNode> media = {});
SSceneGroup MakeGroup(int id, const std::vector<SScene>& scenes);
SProject MakeProject(int id, const std::vector<SSceneGroup>& groups = {}, const std::vector<SResource>& resources = {});
SScreen MakeScreen(int id);

/// Loads a show of these projects and screens. The first project is open, and its first scene is paused after 1.5 s.
void LoadShow(const std::vector<SProject>& projects, const std::vector<SScreen>& screens = {});
/// Loads a show of one project with these resources and one scene with these media.
void LoadStage(const std::vector<SResource>& resources, const std::vector<CMediaNode>& media = {});
